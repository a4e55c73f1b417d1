// The values of the language as the runtime holds them. An int and a boolean are 64-bit integers, a String is a
// NUL-terminated text, everything else is a pointer to one of these.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace orva::runtime {

struct Type;

/// Where a call stands in a source. Compiled code holds constants of this layout.
struct SourceLocation {
  const char* file;
  int64_t line;
  const char* text;  ///< the line itself
};

/// A language `ArrayList` of `String`.
struct ArrayList {
  std::vector<const char*> elements;
};

/// An instance of a language class.
struct Object {
  const Type* type;
};

/// A language exception.
struct Exception {
  const char* className;
  const char* message;
  const SourceLocation* location;  ///< null until a place in a source is known
};

/// What travels through C++ and compiled frames while a language exception is thrown.
struct Thrown {
  Exception* exception;
};

// All values live until the process ends: programs of this dialect are short, and natives may keep what they got.

/// Copies a text up to its first zero byte.
const char* newText(std::string_view text);
ArrayList* newList();
Object* newObject(const Type& type);
Exception* newException(std::string_view className, std::string_view message, const SourceLocation* location);

}  // namespace orva::runtime

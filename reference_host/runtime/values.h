// The values of the language as the runtime represents them. An int and a boolean are 64-bit integers, a String is a
// NUL-terminated text, everything else is a pointer to one of these.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string_view>
#include <type_traits>
#include <vector>

namespace orva::runtime {

struct CallTrace;
struct Type;

/// The place of a call in a source. Compiled code contains constants of this layout.
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
  const CallTrace* trace;          ///< null where no compiled method was running
};

/// The C++ exception that carries a language exception through C++ and compiled frames.
struct Thrown {
  Exception* exception;
};

/// Thrown when there is no memory for a value.
class OutOfMemory : public std::bad_alloc {
 public:
  /// "no room for a KIND of COUNT UNITS".
  OutOfMemory(const char* kind, std::size_t count, const char* units) noexcept;
  const char* what() const noexcept override { return text_.data(); }

 private:
  std::array<char, 96> text_;
};

// All values live until the process ends: programs of this dialect are short, and natives may keep what they received.
// Functions that make values throw `OutOfMemory`.

/// Copies a text up to its first zero byte.
const char* newText(std::string_view text);
/// Copies one text after the other.
const char* newText(std::string_view left, std::string_view right);
ArrayList* newList();
void addElement(ArrayList& list, const char* element);
Object* newObject(const Type& type);
/// An exception that this thread throws now, with the calls that led to it.
Exception* newException(std::string_view className, std::string_view message, const SourceLocation* location);

/// An exception for when memory has run out. It needs no memory itself, and releases the reserve for its handlers. Once
/// the reserve is used up too, the next such exception of this thread replaces it.
Exception* newMemoryException(const std::bad_alloc& failure, const SourceLocation* location) noexcept;

/// What some memory is reserved for: handlers of exceptions, and the report of how the program ended.
enum class Reserve { handlers, report };

/// Frees a reserve, unless it has been freed.
void release(Reserve reserve) noexcept;

/// Allocates memory that lives as long as values do.
void* newBytes(std::size_t size, std::size_t alignment, const char* kind);

template <typename Value>
Value* newValues(std::size_t count) {
  static_assert(std::is_trivially_destructible_v<Value>);
  auto* const values = static_cast<Value*>(newBytes(count * sizeof(Value), alignof(Value), "value"));
  std::uninitialized_value_construct_n(values, count);
  return values;
}

template <typename Value>
Value* newValue() {
  return newValues<Value>(1);
}

}  // namespace orva::runtime

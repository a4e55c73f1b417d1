// What the files of this host share: its registry, its lists, and how it binds natives.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace other_host {

struct Type {
  std::string fullName;
  std::string_view shortName;
};

/// Registers a type and its record, unless there is one of this name; safe on any thread.
const Type* registerType(const std::string& fullName);

/// The type of this full name; null if there is none.
const Type* findType(const std::string& fullName);

/// A language `ArrayList` of `String`.
struct List {
  std::vector<std::string> elements;
};

/// Takes the pending exception, as "Class: message".
std::optional<std::string> takePending();

/// The address of a native; null if the program does not contain it. Two files define this: by_name.cpp asks `dlsym`,
/// and by_table.cpp the table that the library installs.
void* bindNative(const char* symbol);

}  // namespace other_host

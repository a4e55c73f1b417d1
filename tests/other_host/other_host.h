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

/// Registers a type and its record, unless one of that name is there; safe on any thread.
const Type* registerType(const std::string& fullName);

/// The type of that full name; null when there is none.
const Type* findType(const std::string& fullName);

/// A language `ArrayList` of `String`.
struct List {
  std::vector<std::string> elements;
};

/// The exception that is pending, as "Class: message", which is taken.
std::optional<std::string> takePending();

/// The address of a native; null when the program does not hold it. Of the two files that define this, by_name.cpp asks
/// `dlsym`, and by_table.cpp the table that the library installs.
void* bindNative(const char* symbol);

}  // namespace other_host

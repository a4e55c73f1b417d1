// What the programs of the smallest host use besides the neighbours.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace minimal_host {

struct Exception {
  std::string className;
  std::string message;
};

/// A language `ArrayList` of `String`; a null element is one without a value.
struct StringList {
  std::vector<std::optional<std::string>> elements;
};

/// Registers the types that every program finds. Call it once, before any native.
void start();

/// Makes a type known. Throws `std::runtime_error` when it is known already.
void registerType(const std::string& fullName);

/// Takes the exception that is pending on this thread, as a program's catch does.
std::optional<Exception> takePending();

}  // namespace minimal_host

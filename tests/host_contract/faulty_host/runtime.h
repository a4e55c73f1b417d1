// What the faulty host's rooms and hooks know of its runtime.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host_contract/hooks.h"

namespace faulty_host {

/// A language `ArrayList` of `String`.
struct List {
  std::vector<std::optional<std::string>> elements;
};

/// Registers a type, ready or not. A name that is there already is added once more.
void registerType(const std::string& fullName, bool isReady = true);

/// Tells whether a full name is registered.
bool isRegistered(const std::string& fullName);

std::optional<orva::host_contract::Raised> takePending();

}  // namespace faulty_host

// Runs checks, each in a process of its own.
#pragma once

#include <string>

#include "host_contract/check.h"

namespace orva::host_contract {

/// How a check ended.
struct Outcome {
  enum Kind { held, broken, notRun };
  Kind kind;
  std::string seen;  ///< what broke it, or why it was not run; empty when it held
};

/// Runs a check in this process, once in a process. Throws `std::system_error` when no folder can be made.
Outcome examineHere(const Check& check, Hooks& hooks);

/// Runs a check in a new process. A process that crashes, or that has not ended in time, breaks the check.
/// @param seconds how long the check may take.
/// Throws `std::system_error` when no process, pipe or folder can be made.
Outcome examine(const Check& check, Hooks& hooks, int seconds);

}  // namespace orva::host_contract

// Runs checks, each in a process of its own.
#pragma once

#include <string>

#include "host_contract/check.h"

namespace orva::host_contract {

/// How a check ended.
struct Outcome {
  enum Kind {
    held,
    broken,
    hung,       ///< broken, and not done in time
    unusable,   ///< broken, and no other check can be run
    unstarted,  ///< the host does not start, and no check can be run
    notRun
  };
  Kind kind;
  std::string seen;  ///< what broke it, or why it was not run; empty when it held

  bool isBroken() const { return kind != held && kind != notRun; }
};

/// Runs a check in this process; call it only once in a process. Throws `std::system_error` when no folder can be made.
/// @param seconds the time limit that the check is given; nothing enforces it.
Outcome examineHere(const Check& check, Hooks& hooks, int seconds);

/// Runs a check in a new process. A process that crashes, or that has not ended in time, breaks the check.
/// @param seconds how long the check may take.
/// Throws `std::system_error` when no process, pipe, memory or folder can be made.
Outcome examine(const Check& check, Hooks& hooks, int seconds);

}  // namespace orva::host_contract

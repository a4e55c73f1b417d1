// Tries a fault on a path, and checks everything that follows.
#pragma once

#include "fault.h"

namespace faults {

/// Runs a path without a fault. Fails the test if it breaks the rules.
Course courseOf(const Path& path);

/// Tries a fault. Fails the test if the calls, the raises, the result or the thrown object differ from the rules, if
/// anything is still held, or if the fault affects the next call.
void tryFault(const Path& path, const Course& course, const Fault& fault);

}  // namespace faults

// Trying a fault on a path, and checking all that comes of it.
#pragma once

#include "fault.h"

namespace faults {

/// Runs a path without a fault. Fails the test when it does not go by the rules.
Course courseOf(const Path& path);

/// Tries a fault, and fails the test when the calls, the raises, the result or the object that leaves are not those of
/// the rules, when anything is still held, or when the next call notices that there was a fault.
void tryFault(const Path& path, const Course& course, const Fault& fault);

}  // namespace faults

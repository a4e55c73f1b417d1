// Trying one fault on one path, and checking all that comes of it.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "foretelling.h"
#include "path.h"

namespace faults {

/// Runs a path without a fault and returns, for each allocation of the native, how many calls were made before it.
/// Fails the test when the path does not go as it is written down.
std::vector<std::size_t> allocationsOf(const Path& path);

/// Tells, for each reading of a directory, what comes of each allocation that the standard library's own iterator
/// makes after it, when that allocation fails.
std::vector<std::vector<IteratorFailure>> iteratorFailures(const std::string& folder, bool typesHidden);

/// Tries a fault, and fails the test when the calls, the raises, the result or the object that leaves are not as
/// foretold, when anything is still held, or when the next call notices that there was a fault.
void tryFault(const Path& path, const Fault& fault);

/// Names a fault for whoever reads a failure.
std::string named(const Path& path, const Fault& fault);

/// Shortens long lines, for messages.
std::string shortened(const std::string& line);

}  // namespace faults

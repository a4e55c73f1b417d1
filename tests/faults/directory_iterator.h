// How the standard library's directory iterator behaves, without any native, when one of its allocations fails.
#pragma once

#include <cstddef>

#include "fault.h"

namespace faults {

/// How many descriptors the process has open.
int openDescriptors();

/// Tells what happens when the `nth` allocation after so many reads of the directory fails. Allocations other than the
/// iterator's throw.
IteratorFailure iteratorFailure(const Path& path, const Course& course, std::size_t readings, std::size_t nth);

}  // namespace faults

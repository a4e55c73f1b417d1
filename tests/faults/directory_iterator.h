// What becomes of a failing allocation of the standard library's own directory iterator, without any native.
#pragma once

#include <cstddef>

#include "fault.h"

namespace faults {

/// How many descriptors the process has open.
int openDescriptors();

/// Tells what comes of the `nth` allocation after so many readings of the directory that a path lists. One that is not
/// the iterator's own is thrown.
IteratorFailure iteratorFailure(const Path& path, const Course& course, std::size_t readings, std::size_t nth);

}  // namespace faults

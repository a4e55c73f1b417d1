// How many more files the process may open.
#pragma once

#include <cstddef>

namespace orva::runtime {

/// How many descriptors are free, up to a number of interest.
std::size_t remainingDescriptors(std::size_t most);

}  // namespace orva::runtime

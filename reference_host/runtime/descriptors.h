// Counts how many more files the process may open.
#pragma once

#include <cstddef>

namespace orva::runtime {

/// Counts the free descriptors, up to a maximum.
std::size_t remainingDescriptors(std::size_t most);

}  // namespace orva::runtime

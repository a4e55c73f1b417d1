// What a fuzz target and those who feed it inputs know of each other.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

/// Each target defines this: it plays one input, and aborts or trips a sanitizer when something is wrong.
/// @return always 0.
int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size);
}

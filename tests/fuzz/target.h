// The interface between a fuzz target and libFuzzer or the replay.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

/// Each target defines this. It plays one input, and aborts or trips a sanitizer if something is wrong.
/// @return always 0.
int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size);
}

// Tries lists of strings: with nulls, with wrong sizes, with long strings.
#include "target.h"
#include "worlds.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  using model::Native;
  playWorld(data, size, {Native::precompileSources, Native::loadObjectBundle});
  return 0;
}

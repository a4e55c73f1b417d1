// Tries package names on roots and directories with any contents.
#include "target.h"
#include "worlds.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  using model::Native;
  playWorld(data, size, {Native::loadPackageTypes, Native::addSourceRoot});
  return 0;
}

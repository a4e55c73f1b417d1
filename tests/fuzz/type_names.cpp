// Names of types, against registries and type tables of every content.
#include "target.h"
#include "worlds.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  using model::Native;
  playWorld(data, size, {Native::kGetTypeByName, Native::kLoadSourceClass, Native::kLoadClass});
  return 0;
}

// Tries type names on registries and type tables with any contents.
#include <algorithm>

#include "target.h"
#include "worlds.h"

using model::Native;

/// All natives except those that have their own target, and getSystem, whose object is kept as long as the process.
static std::vector<Native> natives() {
  const std::vector<Native> others{Native::getSystem, Native::precompileSources, Native::loadObjectBundle,
                                   Native::loadPackageTypes, Native::addSourceRoot};
  std::vector<Native> all;
  for (std::size_t number = 0; number < model::nativeCount; ++number) {
    const auto native = static_cast<Native>(number);
    if (std::find(others.begin(), others.end(), native) == others.end()) all.push_back(native);
  }
  return all;
}

int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  playWorld(data, size, natives());
  return 0;
}

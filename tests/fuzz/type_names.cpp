// Names of types, against registries and type tables of every content.
#include <algorithm>

#include "target.h"
#include "worlds.h"

using model::Native;

/// All but those for which there is a target of their own, and getSystem, whose object stays for the whole process.
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

// Measures a lookup that loads a class from its source, on the reference host. measure.sh runs this with and without
// the recorder, alternately.
#include <algorithm>
#include <cstdio>
#include <vector>

#include "benchmarks/host/world.h"
#include "classloader/natives.h"

int main() {
  const World world;
  std::vector<double> seconds(101);
  for (double& each : seconds) {
    const FreshClass fresh = writeFreshClass();
    each = secondsOf([&] { orva_ClassLoader_getTypeByName(fresh.fullName.c_str()); });
  }
  std::nth_element(seconds.begin(), seconds.begin() + 50, seconds.end());
  std::printf("A load from source\t%.0f\n", seconds[50] * 1e9);
}

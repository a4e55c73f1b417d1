// Measures the time of a call, an event and a registry call. measure.sh runs this with and without the recorder.
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <vector>

#include "benchmarks/floors/measured_host.h"
#include "classloader/natives.h"

static double threadTime() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

/// Prints the median cost of one of the `parts` that a call has.
template <typename Call>
static void measure(const char* what, int calls, int parts, const Call& call) {
  std::vector<double> rounds(21);
  for (double& round : rounds) {
    const double begin = threadTime();
    for (int i = 0; i < calls; ++i) call();
    round = (threadTime() - begin) / calls / parts;
  }
  std::nth_element(rounds.begin(), rounds.begin() + 10, rounds.end());
  std::printf("%s\t%.1f\n", what, rounds[10]);
}

int main() {
  constexpr int types = 5'000;
  measured::registerTypes(types);
  const std::string known = measured::fullNameOf(types - 1);
  const std::string knownShort = measured::shortNameOf(types - 1);
  // Each round extends the file of events several times.
  measure("An event", 30'000, 2, [&] { orva_SystemClassLoader_loadClass(nullptr, known.c_str()); });
  measure("A registry call, by full name", 20, 2 * types, [&] { orva_ClassLoader_getTypeByName(known.c_str()); });
  measure("A registry call, by short name", 20, 2 * types, [&] { orva_ClassLoader_getTypeByName(knownShort.c_str()); });
}

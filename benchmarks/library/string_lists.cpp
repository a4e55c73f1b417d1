// Turning a language list into strings: precompiling sources with a compiler that does nothing.
#include "benchmarks/floors/floors.h"
#include "benchmarks/floors/measured_host.h"
#include "classloader/natives.h"
#include "measure.h"

static std::vector<const char*> listOfSize(const benchmark::State& state) {
  return std::vector<const char*>(static_cast<std::size_t>(state.range(0)), measured::sourceFile);
}

static void convert(benchmark::State& state) {
  std::vector<const char*> strings = listOfSize(state);
  measure(state, [list = measured::listOf(strings)] {
    orva_ClassLoader_precompileSources(list);
    return list;
  });
}

static void floorOfCopy(benchmark::State& state) {
  std::vector<const char*> strings = listOfSize(state);
  measure(state, [list = measured::listOf(strings)] { return floors::copyList(list); });
}

static void sizes(benchmark::internal::Benchmark* each) { each->Arg(0)->RangeMultiplier(10)->Range(10, 1'000'000); }

BENCHMARK(convert)->Name("list/library")->Apply(sizes);
BENCHMARK(floorOfCopy)->Name("list/floor")->Apply(sizes);

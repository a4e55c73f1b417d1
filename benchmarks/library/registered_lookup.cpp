// Looking up a type that is registered: the whole registry is read, wherever the type stands in it.
#include "benchmarks/floors/floors.h"
#include "benchmarks/floors/measured_host.h"
#include "classloader/natives.h"
#include "measure.h"

static std::size_t prepare(const benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  measured::registerTypes(count);
  return count;
}

static void lookUp(benchmark::State& state, const std::string& name) {
  measure(state, [&name] { return orva_ClassLoader_getTypeByName(name.c_str()); });
}

static void byFullName(benchmark::State& state) { lookUp(state, measured::fullNameOf(prepare(state) / 2)); }

static void byShortName(benchmark::State& state) { lookUp(state, measured::shortNameOf(prepare(state) / 2)); }

static void floorOfScan(benchmark::State& state) {
  prepare(state);
  measure(state, floors::scanRegistry);
}

static void sizes(benchmark::internal::Benchmark* each) { each->RangeMultiplier(10)->Range(10, 1'000'000); }

BENCHMARK(byFullName)->Name("lookup/full_name")->Apply(sizes);
BENCHMARK(byShortName)->Name("lookup/short_name")->Apply(sizes);
BENCHMARK(floorOfScan)->Name("lookup/floor")->Apply(sizes);

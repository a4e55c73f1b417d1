// Looking up a type that is registered: the whole registry is read, wherever the type stands in it.
#include <algorithm>
#include <map>

#include "benchmarks/floors/floors.h"
#include "benchmarks/floors/measured_host.h"
#include "classloader/natives.h"
#include "measure.h"
#include "real_names.h"

using Names = std::vector<std::string>;

static void lookUp(benchmark::State& state, const Names& names) {
  measure(state, names, [](const std::string& name) { return orva_ClassLoader_getTypeByName(name.c_str()); });
}

// ---- made-up names

static std::size_t prepare(const benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  measured::registerTypes(count);
  return count;
}

static void byFullName(benchmark::State& state) { lookUp(state, {measured::fullNameOf(prepare(state) / 2)}); }

static void byShortName(benchmark::State& state) { lookUp(state, {measured::shortNameOf(prepare(state) / 2)}); }

static void floorOfScan(benchmark::State& state) {
  prepare(state);
  measure(state, floors::scanRegistry);
}

static void sizes(benchmark::internal::Benchmark* each) { each->RangeMultiplier(10)->Range(10, 1'000'000); }

BENCHMARK(byFullName)->Name("lookup/full_name")->Apply(sizes);
BENCHMARK(byShortName)->Name("lookup/short_name")->Apply(sizes);
BENCHMARK(floorOfScan)->Name("lookup/floor")->Apply(sizes);

// ---- real names

static void prepareReal(benchmark::State& state) {
  measured::registerTypes(realTypes());
  state.counters["types"] = static_cast<double>(realTypes().size());
  state.counters["generic"] = static_cast<double>(std::count_if(realTypes().begin(), realTypes().end(), isGeneric));
}

/// Those of classes that are not generic; without a package, a name would be looked up as a short one.
static Names realFullNames() {
  Names names;
  for (const measured::TypeNames& type : realTypes()) {
    if (!isGeneric(type) && type.fullName != type.shortName) names.push_back(type.fullName);
  }
  return names;
}

/// Those that one type alone has.
static Names realShortNames() {
  std::map<std::string, int> counts;
  for (const measured::TypeNames& type : realTypes()) ++counts[type.shortName];
  Names names;
  for (const measured::TypeNames& type : realTypes()) {
    if (!isGeneric(type) && counts[type.shortName] == 1) names.push_back(type.shortName);
  }
  return names;
}

static void realByFullName(benchmark::State& state) {
  prepareReal(state);
  lookUp(state, sampleOf(realFullNames()));
}

static void realByShortName(benchmark::State& state) {
  prepareReal(state);
  lookUp(state, sampleOf(realShortNames()));
}

static void floorOfRealScan(benchmark::State& state) {
  prepareReal(state);
  measure(state, floors::scanRegistry);
}

BENCHMARK(realByFullName)->Name("real_lookup/full_name");
BENCHMARK(realByShortName)->Name("real_lookup/short_name");
BENCHMARK(floorOfRealScan)->Name("real_lookup/floor");

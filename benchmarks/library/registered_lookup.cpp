// Looking up a type that is registered: the whole registry is read, wherever the type is in it.
#include <algorithm>
#include <map>
#include <random>

#include "benchmarks/floors/floors.h"
#include "benchmarks/floors/measured_host.h"
#include "classloader/natives.h"
#include "measure.h"
#include "real_names.h"

using Names = std::vector<std::string>;

// ---- made-up names

static void lookUp(benchmark::State& state, const std::string& name) {
  measure(state, [&name] { return orva_ClassLoader_getTypeByName(name.c_str()); });
}

static std::size_t prepare(const benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  measured::registerTypes(count);
  return count;
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

// ---- real names

using Registry = std::vector<measured::TypeNames>;

static constexpr std::size_t orderCount = 8;

/// The real types in several orders. With a single order, the processor would learn to predict every branch. The floor,
/// for which nothing else changes from call to call, would then cost less than half of what it costs in a real host.
static const std::vector<Registry>& realRegistries() {
  static const std::vector<Registry> registries = [] {
    std::vector<Registry> all;
    Registry types = realTypes();
    std::mt19937 random(1);
    for (std::size_t order = 0; order < orderCount; ++order) {
      std::shuffle(types.begin(), types.end(), random);
      // Copied, so that the names lie in memory in this order too.
      all.push_back(types);
    }
    return all;
  }();
  return registries;
}

static void useNextOrder() {
  static std::size_t next = 0;
  measured::registerTypes(realRegistries()[next]);
  next = (next + 1) % orderCount;
}

static void describeReal(benchmark::State& state) {
  state.counters["orders"] = orderCount;
  state.counters["types"] = static_cast<double>(realTypes().size());
  state.counters["generic"] = static_cast<double>(std::count_if(realTypes().begin(), realTypes().end(), isGeneric));
}

/// The full names of classes that are not generic and are in a package: other names would be looked up as short ones.
static Names realFullNames() {
  Names names;
  for (const measured::TypeNames& type : realTypes()) {
    if (!isGeneric(type) && type.fullName != type.shortName) names.push_back(type.fullName);
  }
  return names;
}

/// The short names that only one type has.
static Names realShortNames() {
  std::map<std::string, int> counts;
  for (const measured::TypeNames& type : realTypes()) ++counts[type.shortName];
  Names names;
  for (const measured::TypeNames& type : realTypes()) {
    if (!isGeneric(type) && counts[type.shortName] == 1) names.push_back(type.shortName);
  }
  return names;
}

static void lookUpReal(benchmark::State& state, const Names& names) {
  describeReal(state);
  measure(state, sampleOf(names), [](const std::string& name) {
    useNextOrder();
    return orva_ClassLoader_getTypeByName(name.c_str());
  });
}

static void realByFullName(benchmark::State& state) { lookUpReal(state, realFullNames()); }

static void realByShortName(benchmark::State& state) { lookUpReal(state, realShortNames()); }

static void floorOfRealScan(benchmark::State& state) {
  describeReal(state);
  measure(state, [] {
    useNextOrder();
    return floors::scanRegistry();
  });
}

BENCHMARK(realByFullName)->Name("real_lookup/full_name");
BENCHMARK(realByShortName)->Name("real_lookup/short_name");
BENCHMARK(floorOfRealScan)->Name("real_lookup/floor");

// Walking the type table for a generic instance that is not in it.
#include <algorithm>
#include <set>
#include <utility>

#include "benchmarks/floors/floors.h"
#include "benchmarks/floors/measured_host.h"
#include "classloader/natives.h"
#include "measure.h"
#include "real_names.h"

using Keys = std::vector<std::string>;

static void walk(benchmark::State& state, const Keys& keys) {
  measure(state, keys, [](const std::string& key) { return orva_ClassLoader_getTypeByName(key.c_str()); });
}

static void floorOfWalk(benchmark::State& state, const Keys& keys) { measure(state, keys, floors::walkTable); }

// ---- made-up names

// Shorter than the names of the table, so that the library cannot tell a name apart by its length; the floor can.
static const Keys strangeKey = {"Box<org.sample.Circle>"};
static const Keys likeKey = {measured::unknownInstance};
// Half of the names of the table end like this, and the library compares names from the end.
static const Keys endingKey = {"org.sample.Box<Item>"};
// As long as most names of a large table, so that the floor cannot distinguish them by their lengths either.
static const Keys longKey = {measured::fullNameOf(1000) + "<Iten>"};

static void fillTable(const benchmark::State& state) { measured::fillTable(static_cast<std::size_t>(state.range(0))); }

static void madeUp(benchmark::State& state, const Keys& keys) {
  fillTable(state);
  walk(state, keys);
}
static void madeUpFloor(benchmark::State& state, const Keys& keys) {
  fillTable(state);
  floorOfWalk(state, keys);
}

// A walk that compares more than lengths must read at least this.
static void madeUpNames(benchmark::State& state) {
  fillTable(state);
  measure(state, floors::touchNames);
}

static void sizes(benchmark::internal::Benchmark* each) { each->RangeMultiplier(10)->Range(10, 1'000'000); }

BENCHMARK_CAPTURE(madeUp, strange, strangeKey)->Name("walk_no_common_prefix/library")->Apply(sizes);
BENCHMARK_CAPTURE(madeUpFloor, strange, strangeKey)->Name("walk_no_common_prefix/floor")->Apply(sizes);
BENCHMARK_CAPTURE(madeUp, like, likeKey)->Name("walk_12_common_bytes/library")->Apply(sizes);
BENCHMARK_CAPTURE(madeUpFloor, like, likeKey)->Name("walk_12_common_bytes/floor")->Apply(sizes);
BENCHMARK_CAPTURE(madeUp, ending, endingKey)->Name("walk_common_ending/library")->Apply(sizes);
BENCHMARK_CAPTURE(madeUpFloor, ending, endingKey)->Name("walk_common_ending/floor")->Apply(sizes);
BENCHMARK_CAPTURE(madeUp, equallyLong, longKey)->Name("walk_equal_length/library")->Arg(10'000);
BENCHMARK_CAPTURE(madeUpFloor, equallyLong, longKey)->Name("walk_equal_length/floor")->Arg(10'000);
BENCHMARK(madeUpNames)->Name("walk_names/floor")->Arg(10'000);

// ---- real names

/// Generic instances of all lengths.
static const Keys& realKeys() {
  static const Keys keys = [] {
    Keys instances;
    for (const measured::TypeNames& type : realTypes()) {
      if (isGeneric(type)) instances.push_back(type.fullName);
    }
    std::sort(instances.begin(), instances.end(), [](const std::string& left, const std::string& right) {
      return std::pair(left.size(), left) < std::pair(right.size(), right);
    });
    return sampleOf(instances);
  }();
  return keys;
}

/// The names that the reference host gives a record: short and full; a generic instance has only the full one.
static TypeRecord recordOf(const measured::TypeNames& type) {
  static char object;
  return {isGeneric(type) ? "" : type.shortName, type.fullName, {}, {}, &object, {&object}};
}

/// A record for each type, except those that are looked up.
static std::vector<TypeRecord> realTable() {
  const std::set<std::string> asked(realKeys().begin(), realKeys().end());
  std::vector<TypeRecord> table;
  for (const measured::TypeNames& type : realTypes()) {
    if (asked.count(type.fullName) == 0) table.push_back(recordOf(type));
  }
  return table;
}

static void useRealTable() {
  static std::vector<TypeRecord> table = realTable();
  measured::useTable(table);
}

static void real(benchmark::State& state) {
  useRealTable();
  walk(state, realKeys());
}
static void realFloor(benchmark::State& state) {
  useRealTable();
  floorOfWalk(state, realKeys());
}

BENCHMARK(real)->Name("real_walk/library");
BENCHMARK(realFloor)->Name("real_walk/floor");

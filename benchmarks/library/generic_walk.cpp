// Walking the type table for a generic instance that is not in it.
#include "benchmarks/floors/floors.h"
#include "benchmarks/floors/measured_host.h"
#include "classloader/natives.h"
#include "measure.h"

// Shorter than the names of the table, so that the library cannot tell a name apart by its length; the floor can.
static const std::string strangeKey = "Box<org.sample.Circle>";
static const std::string likeKey = measured::unknownInstance;

static void prepare(const benchmark::State& state) { measured::fillTable(static_cast<std::size_t>(state.range(0))); }

static void walk(benchmark::State& state, const std::string& key) {
  prepare(state);
  measure(state, [&key] { return orva_ClassLoader_getTypeByName(key.c_str()); });
}

static void floorOfWalk(benchmark::State& state, const std::string& key) {
  prepare(state);
  measure(state, [&key] { return floors::walkTable(key); });
}

static void sizes(benchmark::internal::Benchmark* each) { each->RangeMultiplier(10)->Range(10, 1'000'000); }

static void strange(benchmark::State& state) { walk(state, strangeKey); }
static void like(benchmark::State& state) { walk(state, likeKey); }
static void strangeFloor(benchmark::State& state) { floorOfWalk(state, strangeKey); }
static void likeFloor(benchmark::State& state) { floorOfWalk(state, likeKey); }

BENCHMARK(strange)->Name("walk_no_common_prefix/library")->Apply(sizes);
BENCHMARK(strangeFloor)->Name("walk_no_common_prefix/floor")->Apply(sizes);
BENCHMARK(like)->Name("walk_12_common_bytes/library")->Apply(sizes);
BENCHMARK(likeFloor)->Name("walk_12_common_bytes/floor")->Apply(sizes);

// Measures a call: its time, and what it takes from the heap.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

struct HeapUse {
  std::size_t allocations = 0;
  std::size_t bytes = 0;
};

/// What all threads have taken since the program began.
HeapUse heapUse();

/// Times a call with each name in turn, and reports the most allocations and the most bytes that one call makes.
template <typename Call>
void measure(benchmark::State& state, const std::vector<std::string>& names, const Call& call) {
  auto name = names.begin();
  for (auto _ : state) {
    benchmark::DoNotOptimize(call(*name));
    if (++name == names.end()) name = names.begin();
  }
  state.counters["names"] = static_cast<double>(names.size());
  HeapUse most;
  for (const std::string& each : names) {
    const HeapUse before = heapUse();
    benchmark::DoNotOptimize(call(each));
    const HeapUse after = heapUse();
    most.allocations = std::max(most.allocations, after.allocations - before.allocations);
    most.bytes = std::max(most.bytes, after.bytes - before.bytes);
  }
  state.counters["allocations"] = static_cast<double>(most.allocations);
  state.counters["bytes"] = static_cast<double>(most.bytes);
}

/// Times a call, and reports how many allocations and bytes one more call makes.
template <typename Call>
void measure(benchmark::State& state, const Call& call) {
  measure(state, {std::string()}, [&call](const std::string& /*name*/) { return call(); });
}

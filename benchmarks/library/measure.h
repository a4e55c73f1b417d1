// Measures a call: its time, and what it takes from the heap.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>

struct HeapUse {
  std::size_t allocations = 0;
  std::size_t bytes = 0;
};

/// What has been taken by all threads since the program began.
HeapUse heapUse();

/// Times a call, and reports how often and how many bytes one more call of it takes from the heap.
template <typename Call>
void measure(benchmark::State& state, const Call& call) {
  for (auto _ : state) benchmark::DoNotOptimize(call());
  const HeapUse before = heapUse();
  benchmark::DoNotOptimize(call());
  const HeapUse after = heapUse();
  state.counters["allocations"] = static_cast<double>(after.allocations - before.allocations);
  state.counters["bytes"] = static_cast<double>(after.bytes - before.bytes);
}

// The host of this process, a folder of sources for it, and the clock.
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <string>

#include "tests/scripted_host/temporary_folder.h"

/// A fresh folder, which is the working directory and the only root for as long as the world lives.
class World {
 public:
  World();
  ~World();
  World(const World&) = delete;
  World& operator=(const World&) = delete;

 private:
  TemporaryFolder folder_;
};

/// A class that was never loaded, in a file of its own.
struct FreshClass {
  std::string fullName;
  std::string path;  ///< of the source, relative to the working directory
};

/// Writes the source of a class of five methods.
FreshClass writeFreshClass();

void writeText(const std::string& path, const std::string& text);

/// How long a function runs, in seconds.
template <typename Function>
double secondsOf(const Function& function) {
  const auto start = std::chrono::steady_clock::now();
  function();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Reports the total time of a floor that ran in turns with its benchmark.
inline void reportFloor(benchmark::State& state, double seconds) {
  state.counters["floor_ns"] = benchmark::Counter(seconds * 1e9, benchmark::Counter::kAvgIterations);
}

// Precompiling a thousand files on one core and on all.
#include <benchmark/benchmark.h>
#include <sched.h>

#include "runtime_api/compiler.h"
#include "subjects.h"
#include "world.h"

static const std::vector<std::string>& thousandFiles() {
  static const auto* const files = [] {
    auto* const paths = new std::vector<std::string>();
    for (int i = 0; i < 1000; ++i) paths->push_back(writeFreshClass().path);
    return paths;
  }();
  return *files;
}

static void precompileAll(benchmark::State& state) {
  const auto& files = thousandFiles();
  while (state.KeepRunning()) {
    state.SetIterationTime(secondsOf([&] { orva::compiler::Compiler::precompileSources(files, nullptr, nullptr); }));
  }
}

/// Keeps this thread, and those that it starts, on the core that it runs on.
static void precompileOnOneCore(benchmark::State& state) {
  cpu_set_t all;
  cpu_set_t one;
  sched_getaffinity(0, sizeof all, &all);
  CPU_ZERO(&one);
  CPU_SET(static_cast<std::size_t>(sched_getcpu()), &one);
  sched_setaffinity(0, sizeof one, &one);
  precompileAll(state);
  sched_setaffinity(0, sizeof all, &all);
}

void registerPrecompiling() {
  const auto unit = benchmark::kMillisecond;
  benchmark::RegisterBenchmark("precompile/one_core", precompileOnOneCore)->UseManualTime()->Unit(unit);
  benchmark::RegisterBenchmark("precompile/all_cores", precompileAll)->UseManualTime()->Unit(unit);
}

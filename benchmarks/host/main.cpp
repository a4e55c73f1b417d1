// Measures the reference host; takes the flags of Google Benchmark.
#include <benchmark/benchmark.h>

#include "subjects.h"
#include "world.h"

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  const World world;
  registerLoading();
  registerNativeCall();
  registerTypeMemory();
  registerPrecompiling();
  registerClassPath();
  registerRegistry();
  registerStart();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}

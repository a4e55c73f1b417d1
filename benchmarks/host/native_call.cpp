// A call from compiled code to a native, beside an indirect call of the same function.
#include <benchmark/benchmark.h>

#include "reference_host/compiler/context.h"
#include "reference_host/runtime/type_registry.h"
#include "subjects.h"
#include "world.h"

static constexpr int callsInOneRun = 1000;

/// The native of the class below; compiled code finds it by its name.
extern "C" int64_t orva_Ticker_tick(int64_t value);

int64_t orva_Ticker_tick(int64_t value) { return value + 1; }

/// The dialect has no loops, so the source repeats the call.
static void loadTicker() {
  std::string source = "class Ticker {\n  static native int tick(int value);\n  static int run(int value) {\n";
  for (int i = 0; i < callsInOneRun; ++i) source += "    value = Ticker.tick(value);\n";
  writeText("Ticker.ov", source + "    return value;\n  }\n}\n");
  orva::compiler::activeContext().loader.load("Ticker.ov", orva::runtime::Origin::classPath);
}

static void callNative(benchmark::State& state) {
  if (orva::runtime::findTypeByFullName("Ticker") == nullptr) loadTicker();
  const auto run = orva::runtime::findTypeByFullName("Ticker")->find("run")->invoke;
  int64_t value = 0;
  while (state.KeepRunning()) benchmark::DoNotOptimize(value = run(&value, nullptr));
  state.counters["calls"] = callsInOneRun;
}

static void callFunction(benchmark::State& state) {
  int64_t (*volatile function)(int64_t) = orva_Ticker_tick;
  int64_t value = 0;
  while (state.KeepRunning()) {
    for (int i = 0; i < callsInOneRun; ++i) value = function(value);
    benchmark::DoNotOptimize(value);
  }
  state.counters["calls"] = callsInOneRun;
}

void registerNativeCall() {
  benchmark::RegisterBenchmark("native_call/here", callNative);
  benchmark::RegisterBenchmark("native_call/floor", callFunction);
}

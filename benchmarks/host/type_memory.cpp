// How many bytes of heap each loaded type keeps in use.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include "reference_host/compiler/context.h"
#include "reference_host/compiler/files.h"
#include "reference_host/compiler/object_file.h"
#include "subjects.h"
#include "world.h"

using orva::compiler::activeContext;

static constexpr int typeCount = 100;

static void loadSource(const std::string& path) { activeContext().loader.load(path, orva::runtime::Origin::classPath); }

static void loadObject(const std::string& path) {
  activeContext().loader.loadBundle({orva::compiler::objectPathOf(path)},
                                    {orva::compiler::sourceIdentity(orva::compiler::readSource(path).text)});
}

static void measure(benchmark::State& state, void (*load)(const std::string&)) {
  while (state.KeepRunning()) {
    std::vector<std::string> paths;
    for (int i = 0; i < typeCount; ++i) paths.push_back(writeFreshClass().path);
    orva::compiler::Compiler::precompileSources(paths, nullptr, nullptr);
    const auto before = mallinfo2().uordblks;
    state.SetIterationTime(secondsOf([&] {
      for (const std::string& path : paths) load(path);
    }));
    state.counters["bytes_per_type"] = static_cast<double>(mallinfo2().uordblks - before) / typeCount;
  }
}

void registerTypeMemory() {
  const auto add = [](const char* name, void (*load)(const std::string&)) {
    benchmark::RegisterBenchmark(name, measure, load)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
  };
  add("type_memory/from_source", loadSource);
  add("type_memory/from_object", loadObject);
}

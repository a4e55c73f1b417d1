// Adding roots, and looking a class up over a thousand, beside asking the system for the same files.
#include "reference_host/compiler/class_path.h"

#include <benchmark/benchmark.h>
#include <sys/stat.h>

#include <filesystem>

#include "subjects.h"
#include "world.h"

namespace fs = std::filesystem;
using orva::compiler::ClassPath;

static constexpr int rootCount = 1000;

/// A class path of a thousand roots; the last one has the class `a.Last`.
static ClassPath& thousandRoots() {
  static auto* const only = [] {
    auto* const path = new ClassPath("");
    for (int i = 0; i < rootCount; ++i) {
      const std::string root = "roots/root" + std::to_string(i);
      fs::create_directories(root + "/a");
      path->add(root);
    }
    writeText(path->roots().back() + "/a/Last.ov", "package a; class Last { }");
    return path;
  }();
  return *only;
}

static void find(benchmark::State& state, const char* className) {
  ClassPath& path = thousandRoots();
  while (state.KeepRunning()) {
    benchmark::DoNotOptimize(path.find(className));
  }
}

/// Adds a number of roots to a class path.
static void add(benchmark::State& state) {
  const auto& known = thousandRoots().roots();
  while (state.KeepRunning()) {
    ClassPath path("");
    for (int64_t i = 0; i < state.range(0); ++i) benchmark::DoNotOptimize(path.add(known[static_cast<std::size_t>(i)]));
  }
}

static void askForEach(benchmark::State& state) {
  std::vector<std::string> files;
  for (const std::string& root : thousandRoots().roots()) files.push_back(root + "/a/Missing.ov");
  while (state.KeepRunning()) {
    for (const std::string& file : files) {
      struct stat status{};
      benchmark::DoNotOptimize(stat(file.c_str(), &status));
    }
  }
}

void registerClassPath() {
  const auto unit = benchmark::kMicrosecond;
  benchmark::RegisterBenchmark("class_path/1000_roots_last", find, "a.Last")->Unit(unit);
  benchmark::RegisterBenchmark("class_path/1000_roots_missing", find, "a.Missing")->Unit(unit);
  benchmark::RegisterBenchmark("class_path/1000_roots_stat", askForEach)->Unit(unit);
  benchmark::RegisterBenchmark("class_path/add_roots", add)->Arg(100)->Arg(rootCount)->Unit(unit);
}

// Loading a package whose sources take no time to load.
#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>

#include "benchmarks/floors/floors.h"
#include "benchmarks/floors/measured_host.h"
#include "classloader/natives.h"
#include "measure.h"
#include "tests/scripted_host/temporary_folder.h"

static void fill(const std::string& package, std::size_t files) {
  std::filesystem::create_directory(package);
  for (std::size_t number = 0; number < files; ++number) {
    const std::string file = package + "/" + measured::shortNameOf(number) + ".ov";
    if (!std::ofstream(file)) throw std::runtime_error("Cannot write " + file);
  }
}

/// Makes a folder the only root; its package "web" has as many files as asked for. Packages are kept until the program
/// ends.
static const std::string& prepare(const benchmark::State& state) {
  static std::map<std::size_t, TemporaryFolder> roots;
  const auto files = static_cast<std::size_t>(state.range(0));
  const auto [root, isNew] = roots.try_emplace(files);
  if (isNew) fill(root->second.path() + "/web", files);
  measured::setRoot(root->second.path());
  return root->second.path();
}

static void loadPackage(benchmark::State& state) {
  prepare(state);
  measure(state, [] {
    orva_SystemClassLoader_loadPackageTypes(nullptr, "web");
    return measured::loads();
  });
}

static void floorOfListing(benchmark::State& state) {
  measure(state, [folder = prepare(state) + "/web"] { return floors::listSources(folder); });
}

static void sizes(benchmark::internal::Benchmark* each) { each->RangeMultiplier(10)->Range(10, 100'000); }

BENCHMARK(loadPackage)->Name("package/library")->Apply(sizes);
BENCHMARK(floorOfListing)->Name("package/floor")->Apply(sizes);

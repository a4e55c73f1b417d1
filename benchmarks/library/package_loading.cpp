// Loading a package whose sources take no time to load.
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>
#include <system_error>

#include "benchmarks/floors/floors.h"
#include "benchmarks/floors/measured_host.h"
#include "classloader/natives.h"
#include "measure.h"

namespace fs = std::filesystem;

/// Roots with one package of so many files each, which are removed when the program ends.
class Packages {
 public:
  ~Packages() {
    for (const auto& [count, root] : roots_) fs::remove_all(root);
  }

  const std::string& rootOf(std::size_t count) {
    std::string& root = roots_[count];
    if (root.empty()) root = make(count);
    return root;
  }

 private:
  static std::string make(std::size_t count) {
    std::string root = (fs::temp_directory_path() / "orva-benchmark-XXXXXX").string();
    if (mkdtemp(root.data()) == nullptr) throw fs::filesystem_error("mkdtemp", root, {errno, std::generic_category()});
    fs::create_directory(root + "/web");
    for (std::size_t number = 0; number < count; ++number) {
      const std::string file = root + "/web/" + measured::shortNameOf(number) + ".ov";
      if (!std::ofstream(file)) throw std::runtime_error("Cannot write " + file);
    }
    return root;
  }

  std::map<std::size_t, std::string> roots_;
};

static const std::string& prepare(const benchmark::State& state) {
  static Packages packages;
  const std::string& root = packages.rootOf(static_cast<std::size_t>(state.range(0)));
  measured::setRoot(root);
  return root;
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

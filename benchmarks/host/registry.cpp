// A registry of a million types: filling it, reading it, and finding a type, beside a list and a hash table of names.
#include <benchmark/benchmark.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <unordered_map>
#include <vector>

#include "reference_host/runtime/type_registry.h"
#include "runtime_api/reflection.h"
#include "runtime_api/runtime.h"
#include "subjects.h"
#include "world.h"

static constexpr int typeCount = 1000000;

namespace {

/// How long each step took, in seconds.
struct Times {
  double adding;
  double scanning;
  double finding;
};

struct Names {
  std::string name;
  std::string fullName;
};

}  // namespace

static std::vector<Names> makeNames() {
  std::vector<Names> names;
  for (int i = 0; i < typeCount; ++i) {
    const std::string name = "Type" + std::to_string(i);
    names.push_back({name, "registry.package" + std::to_string(i % 1000) + "." + name});
  }
  return names;
}

/// Names that are spread over the whole registry.
static std::vector<std::string> someNames(const std::vector<Names>& names) {
  std::vector<std::string> some;
  for (std::size_t i = 0; i < names.size(); i += 997) some.push_back(names[i].fullName);
  return some;
}

static Times useRegistry() {
  const std::vector<Names> names = makeNames();
  const std::vector<std::string> wanted = someNames(names);
  std::vector<orva::runtime::TypeDescriptor> descriptors;
  for (const Names& each : names) {
    descriptors.push_back({each.name.c_str(), each.fullName.c_str(), 0, nullptr});
  }
  Times times{};
  times.adding = secondsOf([&] {
    orva::runtime::Registration registration;
    registration.setSource(orva::runtime::Origin::named, "made.ov");
    for (const auto& descriptor : descriptors) registration.add(descriptor);
    registration.commit();
  });
  times.scanning = secondsOf([] {
    for (int32_t i = 0; i < Reflection_getTypeCount(); ++i) {
      benchmark::DoNotOptimize(Reflection_getTypeName(i));
      benchmark::DoNotOptimize(Reflection_getTypeFullName(i));
    }
  });
  times.finding = secondsOf([&] {
    for (const std::string& name : wanted) benchmark::DoNotOptimize(Orva_typeByName(name.c_str()));
  });
  times.finding /= static_cast<double>(wanted.size());
  return times;
}

static Times useListAndTable() {
  const std::vector<Names> names = makeNames();
  const std::vector<std::string> wanted = someNames(names);
  std::vector<Names> list;
  std::unordered_map<std::string, const Names*> table;
  Times times{};
  times.adding = secondsOf([&] {
    list.reserve(names.size());
    for (const Names& each : names) table.emplace(each.fullName, &list.emplace_back(each));
  });
  times.scanning = secondsOf([&] {
    for (const Names& each : list) {
      benchmark::DoNotOptimize(each.name.c_str());
      benchmark::DoNotOptimize(each.fullName.c_str());
    }
  });
  times.finding = secondsOf([&] {
    for (const std::string& name : wanted) benchmark::DoNotOptimize(table.find(name));
  });
  times.finding /= static_cast<double>(wanted.size());
  return times;
}

/// Measures in a process of its own, because types are never removed.
static Times inChild(Times (*measure)()) {
  void* const shared = mmap(nullptr, sizeof(Times), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  auto* const times = static_cast<Times*>(shared);
  const pid_t child = fork();
  if (child == 0) {
    *times = measure();
    _exit(0);
  }
  int status = -1;
  const bool isDone = waitpid(child, &status, 0) == child && status == 0;
  const Times result = isDone ? *times : Times{};
  munmap(shared, sizeof(Times));
  return result;
}

static void measure(benchmark::State& state, Times (*work)(), double Times::* step) {
  while (state.KeepRunning()) {
    const double seconds = inChild(work).*step;
    if (seconds == 0) state.SkipWithError("the measuring process failed");
    state.SetIterationTime(seconds);
  }
}

void registerRegistry() {
  const auto add = [](const std::string& name, Times (*work)(), double Times::* step, benchmark::TimeUnit unit) {
    benchmark::RegisterBenchmark(("registry/1000000_" + name).c_str(), measure, work, step)
        ->UseManualTime()
        ->Iterations(1)
        ->Unit(unit);
  };
  add("add", useRegistry, &Times::adding, benchmark::kMillisecond);
  add("add_floor", useListAndTable, &Times::adding, benchmark::kMillisecond);
  add("scan", useRegistry, &Times::scanning, benchmark::kMillisecond);
  add("scan_floor", useListAndTable, &Times::scanning, benchmark::kMillisecond);
  add("find", useRegistry, &Times::finding, benchmark::kNanosecond);
  add("find_floor", useListAndTable, &Times::finding, benchmark::kNanosecond);
}

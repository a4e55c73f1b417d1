// How long the type table's mutex is held, and how long another thread waits for it meanwhile.
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "benchmarks/floors/floors.h"
#include "benchmarks/floors/measured_host.h"
#include "classloader/natives.h"
#include "measure.h"
#include "runtime_api/reflection.h"

using Clock = std::chrono::steady_clock;

static thread_local bool isWatched = false;
static thread_local Clock::time_point lockedAt;
static thread_local Clock::duration held;

extern "C" {

// The linker prescribes these names for functions that it redirects.
// NOLINTBEGIN(bugprone-reserved-identifier)
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
  const int error = __real_pthread_mutex_lock(mutex);
  if (isWatched) lockedAt = Clock::now();
  return error;
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex) {
  if (isWatched) held = Clock::now() - lockedAt;
  return __real_pthread_mutex_unlock(mutex);
}
// NOLINTEND(bugprone-reserved-identifier)

}  // extern "C"

static const std::string key = measured::unknownInstance;

static void lookUp() { benchmark::DoNotOptimize(orva_ClassLoader_getTypeByName(key.c_str())); }
static void walk() { benchmark::DoNotOptimize(floors::walkTable(key)); }

static double secondsOf(Clock::duration time) { return std::chrono::duration<double>(time).count(); }

static void timeHeld(benchmark::State& state, void (*call)()) {
  measured::fillTable(static_cast<std::size_t>(state.range(0)));
  isWatched = true;
  while (state.KeepRunning()) {
    call();
    state.SetIterationTime(secondsOf(held));
  }
  isWatched = false;
}

/// Takes the mutex again and again while another thread looks generic names up.
static void timeWait(benchmark::State& state, void (*call)()) {
  measured::fillTable(static_cast<std::size_t>(state.range(0)));
  std::atomic<bool> stops{false};
  std::thread other([&] {
    while (!stops) call();
  });
  std::vector<double> waits;
  while (state.KeepRunning()) {
    const auto begin = Clock::now();
    gReflectionMutex.lock();
    const double waited = secondsOf(Clock::now() - begin);
    gReflectionMutex.unlock();
    state.SetIterationTime(waited);
    waits.push_back(waited);
    // So that waits begin at different points of a walk.
    std::this_thread::sleep_for(std::chrono::microseconds(50));
  }
  stops = true;
  other.join();
  std::sort(waits.begin(), waits.end());
  state.counters["median_ns"] = waits[waits.size() / 2] * 1e9;
  state.counters["p99_ns"] = waits[waits.size() * 99 / 100] * 1e9;
}

static void heldByLibrary(benchmark::State& state) { timeHeld(state, lookUp); }
static void heldByFloor(benchmark::State& state) { timeHeld(state, walk); }
static void waitForLibrary(benchmark::State& state) { timeWait(state, lookUp); }
static void waitForFloor(benchmark::State& state) { timeWait(state, walk); }

static void sizes(benchmark::internal::Benchmark* each) {
  each->RangeMultiplier(10)->Range(10, 1'000'000)->UseManualTime();
}
static void fewTimes(benchmark::internal::Benchmark* each) {
  each->Arg(100)->Arg(10'000)->UseManualTime()->Iterations(500);
}

BENCHMARK(heldByLibrary)->Name("mutex_held/library")->Apply(sizes);
BENCHMARK(heldByFloor)->Name("mutex_held/floor")->Apply(sizes);
BENCHMARK(waitForLibrary)->Name("mutex_wait/library")->Apply(fewTimes);
BENCHMARK(waitForFloor)->Name("mutex_wait/floor")->Apply(fewTimes);

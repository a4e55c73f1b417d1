// Sources: loading them into the active engine.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <exception>
#include <functional>
#include <future>
#include <mutex>
#include <thread>
#include <utility>

#include "host_contract/checks/known_types.h"
#include "host_contract/checks/mutex.h"
#include "host_contract/checks/sources_on_disk.h"
#include "host_contract/host.h"

namespace orva::host_contract {

static void aLoadedSourceRegistersItsType(Trial& trial) {
  load(writeClass(trial, addRoot(trial, "root"), "Apple"));
  expectLoaded("Apple");
}

static void aSourceLoadsWithoutAContext(Trial& trial) {
  Compiler::ensureSourceLoadedInActiveJit(writeClass(trial, trial.folder / "plugins", "Plugin"), nullptr);
  expectLoaded("Plugin");
}

static void aPluginIsHandedBack(Trial& trial) {
  const std::string file = writeClass(trial, trial.folder / "plugins", "Plugin");
  void* const type = orva_ClassLoader_loadSourceClass(file.c_str(), "Plugin");
  expectNothingPending(trial);
  expect(type != nullptr, "loadSourceClass returned null for the short name of a type that it loaded");
}

static void aSecondLoadIsHarmless(Trial& trial) {
  const std::string file = writeClass(trial, addRoot(trial, "root"), "Apple");
  load(file);
  const int32_t count = Reflection_getTypeCount();
  load(file);
  const int32_t newCount = Reflection_getTypeCount();
  expect(newCount == count,
         "the second load changed the count from " + std::to_string(count) + " to " + std::to_string(newCount));
}

static void aFailingLoadThrowsAStandardException(Trial& trial) {
  const std::string file = writeBroken(trial, addRoot(trial, "root"), "Wrong");
  expectFailure("loading a source that does not compile", [&] { load(file); });
}

static void aMissingSourceThrowsAStandardException(Trial& trial) {
  const std::string file = sourcePath(addRoot(trial, "root"), "Absent").string();
  expectFailure("loading a file that does not exist", [&] { load(file); });
}

/// Loads a broken source, whether that throws or not: another check tests that.
static std::string loadBroken(Trial& trial) {
  std::string file = writeBroken(trial, addRoot(trial, "root"), "Wrong");
  try {
    load(file);
  } catch (...) {
  }
  return file;
}

static void aFailingLoadRegistersNothing(Trial& trial) {
  loadBroken(trial);
  expectNotLoaded("Wrong");
}

static void aFailingLoadLeavesTheMutexFree(Trial& trial) {
  loadBroken(trial);
  expectFreeMutex("after a load that failed");
}

static void aMendedSourceLoads(Trial& trial) {
  const std::string file = loadBroken(trial);
  writeClass(trial, trial.folder / "root", "Wrong");
  load(file);
  expectLoaded("Wrong");
}

/// How a load ended that another thread delayed by holding the mutex.
struct ContendedLoad {
  std::string failure;  ///< the text of what the load threw
  bool hasTableChanged = false;
};

/// Loads a source while a thread holds the mutex, until the load has ended or probably waits for the mutex.
static ContendedLoad loadWhileTheTableIsRead(const std::string& file) {
  ContendedLoad result;
  std::promise<void> held;
  std::atomic<bool> isDone{false};
  std::thread reader([&] {
    const std::lock_guard<std::mutex> lock(gReflectionMutex);
    const std::size_t before = countRecords();
    held.set_value();
    for (int waited = 0; waited < 50 && !isDone; ++waited) std::this_thread::sleep_for(std::chrono::milliseconds(2));
    result.hasTableChanged = countRecords() != before;
  });
  held.get_future().wait();
  try {
    load(file);
  } catch (const std::exception& failure) {
    result.failure = failure.what();
  } catch (...) {
    result.failure = "it threw something not derived from std::exception";
  }
  isDone = true;
  reader.join();
  return result;
}

static void aLoadWaitsForTheMutex(Trial& trial) {
  const std::string file = writeClass(trial, addRoot(trial, "root"), "Apple");
  const ContendedLoad result = loadWhileTheTableIsRead(file);
  expect(result.failure.empty(), "a load failed while another thread read the type table: " + result.failure);
  expectLoaded("Apple");
}

static void theTableChangesUnderTheMutex(Trial& trial) {
  const std::string file = writeClass(trial, addRoot(trial, "root"), "Apple");
  expect(!loadWhileTheTableIsRead(file).hasTableChanged, "gTypes changed while another thread held its mutex");
}

static void parallelLoadsOfOneSourceEndWell(Trial& trial) {
  const std::string file = writeClass(trial, addRoot(trial, "root"), "Apple");
  std::atomic<int> ready{0};
  std::atomic<int> failed{0};
  const auto loadTogether = [&] {
    trial.hooks.attachThread();
    ++ready;
    while (ready < 4) std::this_thread::yield();
    try {
      load(file);
    } catch (...) {
      ++failed;
    }
  };
  std::vector<std::thread> threads;
  for (int each = 0; each < 4; ++each) threads.emplace_back(loadTogether);
  for (std::thread& thread : threads) thread.join();
  expect(failed == 0, std::to_string(failed) + " of four threads that loaded one source failed");
  expectLoaded("Apple");
}

using Clock = std::chrono::steady_clock;

/// Calls the host on a thread of its own. What the call throws is ignored: another check tests that.
class Caller {
 public:
  Caller(Trial& trial, std::function<void()> call)
      : thread_([this, &trial, call = std::move(call)] { run(trial, call); }) {}
  ~Caller() {
    if (thread_.joinable()) thread_.join();
  }
  Caller(const Caller&) = delete;
  Caller& operator=(const Caller&) = delete;

  bool hasBegun() const { return hasBegun_; }

  /// Waits for the end. Rethrows what the hook attachThread threw.
  void end() {
    thread_.join();
    if (unattached_) std::rethrow_exception(unattached_);
  }

 private:
  void run(Trial& trial, const std::function<void()>& call) {
    try {
      trial.hooks.attachThread();
    } catch (...) {
      unattached_ = std::current_exception();
      return;
    }
    hasBegun_ = true;
    try {
      call();
    } catch (...) {
    }
  }

  std::atomic<bool> hasBegun_{false};
  std::exception_ptr unattached_;
  std::thread thread_;
};

/// Makes a load, from a source or an object, meet lookups of each kind: while the kit holds the mutex, each call runs
/// until it needs the mutex. If a call that waits there holds another lock, and the call that gets the mutex first
/// needs that lock too, both wait forever.
class Meeting {
 public:
  explicit Meeting(Trial& trial) : trial_(trial), root_(addRoot(trial, "root")), name_(nameOfEntry(0)) {
    const auto begin = Clock::now();
    load(writeClass(trial_, root_, "Apple"));
    timeOfALoad_ = std::min<Clock::duration>(2 * (Clock::now() - begin), std::chrono::seconds(1));
  }

  /// Every second time, the load asks for the mutex ahead of the lookups. Two times out of four, it loads an object.
  /// @return whether all calls had begun before the mutex was released.
  bool hold() {
    const bool loadFirst = ++count_ % 2 == 0;
    const std::function<void()> nextLoad = prepareLoad();
    std::deque<Caller> callers;
    bool haveBegun = false;
    {
      const auto lock = lockMutexForSomeTime();
      expect(lock.owns_lock(), "gReflectionMutex is held while nothing is loaded or looked up");
      if (loadFirst) beginLoad(callers, nextLoad);
      beginLookUps(callers);
      if (!loadFirst) beginLoad(callers, nextLoad);
      haveBegun = std::all_of(callers.begin(), callers.end(), [](const Caller& caller) { return caller.hasBegun(); });
    }
    for (Caller& caller : callers) caller.end();
    return haveBegun;
  }

 private:
  /// Tells whether a file can be precompiled; another check tests that it can.
  static bool precompiles(const std::string& file) {
    try {
      Compiler::precompileSources({file});
      return true;
    } catch (...) {
      return false;
    }
  }

  std::function<void()> prepareLoad() {
    const std::string file = writeClass(trial_, root_, "Apple" + std::to_string(count_));
    const std::string object = trial_.hooks.objectFile(file);
    const std::string identity = trial_.hooks.sourceIdentity(file);
    if (count_ % 4 < 2 || object.empty() || identity.empty() || !precompiles(file)) return [file] { load(file); };
    return [object, identity] { Compiler::ensureObjectBundleLoadedInActiveJit({object}, {identity}); };
  }

  void beginLoad(std::deque<Caller>& callers, const std::function<void()>& nextLoad) {
    callers.emplace_back(trial_, nextLoad);
    std::this_thread::sleep_for(timeOfALoad_ + std::chrono::milliseconds(1));
  }

  void beginLookUps(std::deque<Caller>& callers) {
    callers.emplace_back(trial_, [] { nameOfEntry(Reflection_getTypeCount() - 1); });
    for (const char* name : {name_.c_str(), "no.such.Type", "no.such.Generic<no.such.Type>"}) {
      callers.emplace_back(trial_, [name] { Orva_typeByName(name); });
      callers.emplace_back(trial_, [name] { orva_ClassLoader_getTypeByName(name); });
    }
    // What such a lookup asks the compiler, without the walk ahead of it, which would wait for the mutex.
    callers.emplace_back(trial_, [] { sourceFileForClass("no.such.Type"); });
    callers.emplace_back(trial_, [] { materializeRuntimeGenericType("no.such.Generic<no.such.Type>"); });
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }

  Trial& trial_;
  const std::filesystem::path root_;
  const std::string name_;
  Clock::duration timeOfALoad_{};
  int count_ = 0;
};

static void lookUpsAndLoadsRunAtOnce(Trial& trial) {
  constexpr int enough = 32;
  const auto end = Clock::now() + std::chrono::milliseconds(500 * std::min(20, trial.seconds));
  loadStandardTypes(trial);
  Meeting meeting(trial);
  // On a loaded machine, some threads begin too late.
  int overlapped = 0;
  while (overlapped < enough && Clock::now() < end) {
    if (meeting.hold()) ++overlapped;
  }
  if (overlapped == 0) throw NotRun{"no lookup met a load: this machine is too busy"};
}

std::vector<Check> sourceChecks() {
  const Room room{"sources", Needs::sources};
  return {
      room.required(
          "ALoadedSourceRegistersItsType", aLoadedSourceRegistersItsType,
          "The library looks a type up again once its source is loaded; every lookup and every plugin would fail."),
      room.required(
          "ASourceLoadsWithoutAContext", aSourceLoadsWithoutAContext,
          "Plugins and the two sources of the class loaders are loaded with an empty context; the host would crash."),
      room.required("APluginIsHandedBack", aPluginIsHandedBack,
                    "A program that loads a plugin would get null, or an exception that its type is not registered."),
      room.required(
          "ASecondLoadIsHarmless", aSecondLoadIsHarmless,
          "Two lookups may both find a type missing and load it; a program would see a failure, or the type twice."),
      room.required(
          "AFailingLoadThrowsAStandardException", aFailingLoadThrowsAStandardException,
          "Only the text of a std::exception reaches the program; the failure would be lost, or end the process."),
      room.required("AMissingSourceThrowsAStandardException", aMissingSourceThrowsAStandardException,
                    "A wrong file name in a program would be taken for a plugin without a type, or end the process."),
      room.advised("AFailingLoadRegistersNothing", aFailingLoadRegistersNothing,
                   "The next lookup would find a type without code, and its plugin could never be loaded."),
      room.required("AFailingLoadLeavesTheMutexFree", aFailingLoadLeavesTheMutexFree,
                    "The next generic lookup would wait forever."),
      room.advised("AMendedSourceLoads", aMendedSourceLoads,
                   "A program could not try again once its user has fixed the file."),
      room.required(
          "ALoadWaitsForTheMutex", aLoadWaitsForTheMutex,
          "A generic lookup holds the mutex while it walks the type table; a load on another thread would sometimes "
          "fail."),
      room.required("TheTableChangesUnderTheMutex", theTableChangesUnderTheMutex,
                    "A generic lookup on another thread would walk a table that changes meanwhile, and sometimes "
                    "crash."),
      room.required("LookUpsAndLoadsRunAtOnce", lookUpsAndLoadsRunAtOnce,
                    "Programs look types up on some threads and load them on others; if lookups and loads take the "
                    "registry's lock and gReflectionMutex in opposite orders, both would wait forever."),
      room.advised(
          "ParallelLoadsOfOneSourceEndWell", parallelLoadsOfOneSourceEndWell,
          "No lock is held between a lookup and its load, so several threads may load one source at once; one of them "
          "would fail, or register its types twice."),
  };
}

}  // namespace orva::host_contract

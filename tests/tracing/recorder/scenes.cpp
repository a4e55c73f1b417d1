// A host that plays one scene after another: ways to reach natives, and ways in which calls end. A scene prints the
// same with and without the tracer.
#include <dlfcn.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csetjmp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "classloader/native_table.h"
#include "classloader/natives.h"
#include "runtime_api/compiler.h"
#include "runtime_api/reflection.h"
#include "runtime_api/runtime.h"

// == The neighbours that scenes change. The plain host defines the others.

static thread_local std::function<void()> whenAsked;  // what Orva_typeByName does before it answers
static char object;
static std::vector<std::string> list;

void Orva_raise(const char* exceptionClass, const char* message) {
  errno = ENOTTY;
  std::printf("raised %s: %s\n", exceptionClass, message);
  errno = ERANGE;
}
void* Orva_typeByName(const char* typeName) {
  if (whenAsked) whenAsked();
  return typeName != nullptr && std::strcmp(typeName, "unknown") != 0 ? &object : nullptr;
}
int64_t orva_collections_ArrayList_size(void* /*list*/) { return static_cast<int64_t>(list.size()); }
const char* orva_collections_ArrayList_operator_index(void* /*list*/, int64_t index) {
  return list.at(static_cast<std::size_t>(index)).c_str();
}
static std::vector<std::array<const char*, 2>> registry = {{"Cart", "shop.Cart"},
                                                           {"Cart", "train.Cart"},
                                                           {"Till", nullptr},
                                                           {nullptr, "shop.BandWagon"},
                                                           {"Other", "shop.sub.Wagon"}};
int32_t Reflection_getTypeCount() {
  if (whenAsked) whenAsked();
  if (registry.empty()) throw std::runtime_error("no registry");
  return static_cast<int32_t>(registry.size());
}
const char* Reflection_getTypeName(int32_t index) { return registry[static_cast<std::size_t>(index)][0]; }
const char* Reflection_getTypeFullName(int32_t index) { return registry[static_cast<std::size_t>(index)][1]; }

namespace orva::compiler {

class Context {};

std::shared_ptr<Context> Compiler::activeRuntimeContext() { return std::make_shared<Context>(); }
void Compiler::ensureSourceLoadedInActiveJit(const std::string& sourcePath, std::shared_ptr<Context> context) {
  std::printf("load %s %s\n", sourcePath.c_str(), context ? "in a context" : "alone");
}
const std::vector<std::string>& Runtime::getKlassPaths() const {
  static const std::vector<std::string> roots = {"/nowhere", "/a/root/whose/name/is/not/kept/in/place"};
  return roots;
}
bool Runtime::addKlassPath(const std::string& root) { return root == "root"; }
bool ClassLoader::materializeRuntimeGenericType(const std::string& typeName, std::string& instanceName,
                                                std::string& sourceFile, std::shared_ptr<Context>& /*context*/) {
  instanceName = "of " + typeName;
  sourceFile = "a/generated/source/of/some/length.ov";
  return true;
}

}  // namespace orva::compiler

// == How natives are reached

template <typename Function>
static Function native(void* library, const char* name) {
  return reinterpret_cast<Function>(dlsym(library, name));
}

static void* load(const char* name) { return orva_SystemClassLoader_loadClass(nullptr, name); }

static void callEach() {
  gTypes.push_back({"", "", "Ready<A>", "", &object, {&object}});
  list = {"one", std::string(2000, 'x')};
  std::printf("%lld\n", static_cast<long long>(orva_ClassLoader_objectAbiVersion()));
  orva_ClassLoader_getSystem();
  for (const char* name : {"shop.Cart", "Till", "Wagon", "Cart", "found", "Box<A>", "Ready< A >", "a<"}) {
    std::printf("%s %d\n", name, static_cast<int>(orva_ClassLoader_getTypeByName(name) != nullptr));
  }
  orva_ClassLoader_getTypeByName(nullptr);
  for (const char* root : {"root", "refused"}) orva_ClassLoader_addSourceRoot(root);
  orva_ClassLoader_precompileSources(&list);
  orva_ClassLoader_loadSourceClass("plugin.ov", "Entry");
  list.resize(17, "many");
  orva_ClassLoader_loadObjectBundle(&list, &list, "Entry");
  load("unknown");
  orva_SystemClassLoader_loadPackageTypes(nullptr, "pack");
}

static void callBySymbol() {
  using LoadClass = void* (*)(void*, const char*);
  constexpr const char* name = "orva_SystemClassLoader_loadClass";
  void* const library = dlopen("liborva-classloader.so.0.1", RTLD_LAZY | RTLD_NOLOAD);
  native<LoadClass>(RTLD_DEFAULT, name)(nullptr, "anywhere");
  native<LoadClass>(library, name)(nullptr, "in the library");
}

static void callByAddress() {
  using LoadClass = void* (*)(void*, const char*);
  reinterpret_cast<LoadClass>(orva::findNative("orva_SystemClassLoader_loadClass"))(nullptr, "by address");
}

static void callFromPlugins() {
  for (const char* name : {"libtrace_plugin.so", "libtrace_plugin_no_plt.so"}) {
    void* const plugin = dlopen(name, RTLD_LAZY);
    if (plugin == nullptr) throw std::runtime_error(dlerror());
    native<void (*)()>(plugin, "callFromPlugin")();
  }
}

static void callSecondLibrary() {
  void* const library = dlopen("second.so", RTLD_LAZY);
  native<void* (*)(void*, const char*)>(library, "orva_SystemClassLoader_loadClass")(nullptr, "in the second");
  load("in the first");
}

// == How calls end

struct Witness {
  ~Witness() { std::puts("destroyed"); }
};

static void throwInt() { throw 42; }
static void throwAgain() {
  const Witness witness;
  try {
    load("inner");
  } catch (...) {
    std::puts("again");
    throw;
  }
}
static void throwKept() {
  std::exception_ptr kept;
  try {
    throw std::out_of_range("kept");
  } catch (...) {
    kept = std::current_exception();
  }
  std::rethrow_exception(kept);
}

static void caught(const std::function<void()>& thrower) {
  whenAsked = thrower;
  try {
    const Witness witness;
    load("thrower");
  } catch (const std::exception& failure) {
    std::printf("caught %s\n", failure.what());
  } catch (int number) {
    std::printf("caught %d\n", number);
  }
  whenAsked = nullptr;
}

static void throwEach() {
  caught([] { throw std::runtime_error("plain"); });
  caught(throwInt);
  caught([] {
    whenAsked = throwInt;
    throwAgain();
  });
  caught(throwKept);
  registry.clear();
  orva_ClassLoader_getTypeByName("Cart");
  load("after all");
}

static void throwUncaught() {
  whenAsked = [] { throw std::runtime_error("nobody catches this"); };
  const Witness witness;
  load("thrower");
}

static std::jmp_buf place;

static void jumpOnce() {
  whenAsked = [] { std::longjmp(place, 1); };
  if (setjmp(place) == 0) load("jumped");
  whenAsked = nullptr;
}

static void* cancelledThread(void* /*nothing*/) {
  const Witness witness;
  whenAsked = [] {
    const Witness inner;
    pthread_cancel(pthread_self());
    pthread_testcancel();
  };
  load("cancelled");
  return nullptr;
}
static void* exitingThread(void* /*nothing*/) {
  whenAsked = [] { pthread_exit(nullptr); };
  load("exiting");
  return nullptr;
}
static void* jumpingThread(void* /*nothing*/) {
  jumpOnce();
  return nullptr;
}
static void endThreads() {
  for (auto* start : {cancelledThread, exitingThread, jumpingThread}) {
    pthread_t thread{};
    pthread_create(&thread, nullptr, start, nullptr);
    pthread_join(thread, nullptr);
  }
  load("after threads");
}

static void jump() {
  jumpOnce();
  jumpOnce();
  whenAsked = [] { jumpOnce(); };
  load("around a jump");
  load("after jumps");
}

/// An exception leaves calls in which others were left by a jump.
static void jumpThenThrow() {
  whenAsked = [] {
    whenAsked = [] { std::longjmp(place, 1); };
    if (setjmp(place) == 0) load("jumped");
    whenAsked = nullptr;
    throw std::runtime_error("thrown after a jump");
  };
  try {
    load("thrower");
  } catch (const std::runtime_error& thrown) {
    std::puts(thrown.what());
  }
  load("after both");
}

// == What else programs do

static constexpr int someCalls = 5000;  // more than fit into the first part of a file

static void callOften() {
  for (int i = 0; i < someCalls; ++i) load("often");
}

static volatile std::sig_atomic_t handled = 0;

/// Natives run in a signal handler that interrupts others, as profilers and watchdogs do.
static void callInHandler() {
  std::signal(SIGALRM, [](int /*signal*/) {
    orva_ClassLoader_objectAbiVersion();
    handled = handled + 1;
  });
  const itimerval often = {{0, 50}, {0, 50}};
  setitimer(ITIMER_REAL, &often, nullptr);
  while (handled < 200) load("often");
  const itimerval never = {};
  setitimer(ITIMER_REAL, &never, nullptr);
  std::fprintf(stderr, "%d\n", static_cast<int>(handled));
}

static void callInThreads() {
  constexpr int count = 8;
  std::atomic<int> started{0};
  std::vector<std::thread> threads;
  for (int number = 0; number < count; ++number) {
    threads.emplace_back([&started, name = "thread " + std::to_string(number)] {
      for (++started; started < count;) std::this_thread::yield();
      // Four records each, 100,000 in all.
      for (int i = 0; i < 3125; ++i) load(name.c_str());
    });
  }
  for (std::thread& thread : threads) thread.join();
}

static void forkWithin() {
  whenAsked = [] {
    whenAsked = nullptr;
    const pid_t child = fork();
    if (child == 0) return load("in the child"), callOften();
    waitpid(child, nullptr, 0);
    load("in the parent");
  };
  load("forks");
  load("after the fork");
}

static void forkDuringScan() {
  whenAsked = [] {
    whenAsked = nullptr;
    waitpid(fork(), nullptr, 0);
  };
  orva_ClassLoader_getTypeByName("Wagon");
}

static void closeAll() {
  chdir("/");
  for (int file = 3; file < 64; ++file) close(file);
  callOften();
  std::printf("next descriptor %d\n", dup(0));
}

static void limitFiles() {
  const rlimit limit = {100000, 100000};
  setrlimit(RLIMIT_FSIZE, &limit);
  errno = EDOM;
  callOften();
  std::puts(errno == EDOM ? "still there" : "errno is another");
}

static void keepErrno() {
  errno = EDOM;
  load("errno");
  const int afterCall = errno;
  orva_ClassLoader_addSourceRoot("");
  const int afterRaise = errno;
  std::printf("%d %d\n", static_cast<int>(afterCall == EDOM), static_cast<int>(afterRaise == ERANGE));
}

static void killDuringCalls() {
  static std::atomic<int> calls{0};
  for (int number = 0; number < 2; ++number) {
    std::thread([] {
      for (;; ++calls) load("until killed");
    }).detach();
  }
  while (calls < someCalls) std::this_thread::yield();
  raise(SIGKILL);
}

static void becomeAnother() {
  load("before exec");
  execl("/proc/self/exe", "another", "exit", nullptr);
}

static void end() {
  load("before the end");
  _exit(3);
}

int main(int argc, char** argv) {
  const std::map<std::string_view, void (*)()> scenes = {{"each", callEach},
                                                         {"symbol", callBySymbol},
                                                         {"address", callByAddress},
                                                         {"plugins", callFromPlugins},
                                                         {"second", callSecondLibrary},
                                                         {"throw", throwEach},
                                                         {"uncaught", throwUncaught},
                                                         {"end-threads", endThreads},
                                                         {"jump", jump},
                                                         {"jump-then-throw", jumpThenThrow},
                                                         {"often", callOften},
                                                         {"handler", callInHandler},
                                                         {"threads", callInThreads},
                                                         {"fork", forkWithin},
                                                         {"fork-in-scan", forkDuringScan},
                                                         {"close", closeAll},
                                                         {"limit", limitFiles},
                                                         {"errno", keepErrno},
                                                         {"kill", killDuringCalls},
                                                         {"exec", becomeAnother},
                                                         {"exit", end}};
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  for (int i = 1; i < argc; ++i) scenes.at(argv[i])();
}

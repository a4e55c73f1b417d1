// How the kit reaches the faulty host, and what the host does wrong around calls of natives.
#include "hooks.h"

#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <deque>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <string_view>

#include "compiler.h"
#include "fault.h"
#include "runtime.h"
#include "runtime_api/reflection.h"
#include "runtime_api/runtime.h"

using orva::host_contract::Hooks;
using orva::host_contract::Raised;

namespace faulty_host {

namespace {

class FaultyHooks : public Hooks {
 public:
  void start(const std::string& folder) override {
    if (breaks("the hook start, by an exception")) throw std::runtime_error("no licence");
    if (breaks("the hook start, by a crash")) std::abort();
    if (breaks("the hook start, by waiting")) pause();
    if (breaks("nothing, but ignores its children")) signal(SIGCHLD, SIG_IGN);
    startCompiler(folder);
    if (breaks("registry.TheMutexIsFreeBetweenCalls")) gReflectionMutex.lock();
  }

  void attachThread() override {
    if (breaks("the hook attachThread, by an exception")) throw std::runtime_error("no thread");
  }

  std::optional<Raised> takePending() override { return faulty_host::takePending(); }

  void* newStringList(const std::vector<const char*>& elements) override {
    List& list = lists_.emplace_back();
    for (const char* element : elements) {
      list.elements.push_back(element == nullptr ? std::nullopt : std::optional<std::string>(element));
    }
    return &list;
  }

  void* boundNative(const char* symbol) override {
    const bool isUnbound = breaks("natives.NativesAreBoundByTheirPlainSymbols") &&
                           symbol == std::string_view("orva_ClassLoader_getSystem");
    return isUnbound ? nullptr : Hooks::boundNative(symbol);
  }

  bool callNative(void (*native)()) override {
    std::unique_lock<std::mutex> lock(gReflectionMutex, std::defer_lock);
    if (breaks("natives.TheMutexIsFreeAtEveryNativesEntry")) lock.lock();
    try {
      native();
    } catch (const std::exception& failure) {
      if (!breaks("natives.StandardExceptionsPassTheCallersFrames")) throw;
      Orva_raise("Exception", failure.what());
    } catch (...) {
      if (!breaks("natives.ThrownObjectsPassTheCallersFrames")) throw;
      Orva_raise("Exception", "something was thrown");
    }
    return true;
  }

  std::string classSource(const std::string& packageName, const std::string& className) override {
    return "class " + packageName + "." + className + "\n";
  }

  std::string brokenSource(const std::string& packageName, const std::string& className) override {
    return classSource(packageName, className) + "nonsense\n";
  }

  std::string genericSource(const std::string& packageName, const std::string& className) override {
    return "generic " + packageName + "." + className + "\n";
  }

  std::string objectFile(const std::string& sourceFile) override {
    return std::filesystem::path(sourceFile).replace_extension(".o").string();
  }

  std::string sourceIdentity(const std::string& sourceFile) override { return identityOf(sourceFile); }

 private:
  std::deque<List> lists_;
};

}  // namespace

Hooks& hooks() {
  static FaultyHooks instance;
  return instance;
}

}  // namespace faulty_host

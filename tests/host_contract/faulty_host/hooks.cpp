// The hooks of the minimal host, with the faults around calls of natives.
#include "hooks.h"

#include <signal.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <string_view>

#include "fault.h"
#include "runtime_api/reflection.h"
#include "runtime_api/runtime.h"

using orva::host_contract::Hooks;
using orva::host_contract::hostHooks;
using orva::host_contract::Raised;

namespace faulty_host {

/// Adds a ready record whose first name cannot be read.
static void addUnreadableRecord() {
  TypeRecord& record = gTypes.emplace_back();
  record.type = &gTypes;
  record.members.push_back(&gTypes);
  const std::uintptr_t words[] = {1, std::uintptr_t{1} << 40};
  std::memcpy(static_cast<void*>(&record.name1), words, sizeof words);
}

namespace {

class FaultyHooks : public Hooks {
 public:
  void start(const std::string& folder) override {
    if (breaks("the hook start, by an exception")) throw std::runtime_error("no licence");
    if (breaks("the hook start, by a crash")) std::abort();
    if (breaks("the hook start, by waiting")) pause();
    if (breaks("nothing, but ignores its children")) signal(SIGCHLD, SIG_IGN);
    hostHooks().start(folder);
    if (breaks("registry.EveryRegisteredTypeHasAReadyRecord")) gTypes.front().members.clear();
    if (breaks("record.TheLibraryReadsTheHostsRecord")) addUnreadableRecord();
  }

  void attachThread() override {
    if (breaks("the hook attachThread, by an exception")) throw std::runtime_error("no thread");
  }

  std::optional<Raised> takePending() override { return faulty_host::takePending(); }

  void* newStringList(const std::vector<const char*>& elements) override { return hostHooks().newStringList(elements); }

  void* boundNative(const char* symbol) override {
    const bool isUnbound = breaks("natives.NativesAreBoundByTheirPlainSymbols") &&
                           symbol == std::string_view("orva_ClassLoader_getSystem");
    return isUnbound ? nullptr : hostHooks().boundNative(symbol);
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
    return hostHooks().classSource(packageName, className);
  }

  std::string brokenSource(const std::string& packageName, const std::string& className) override {
    return "clas " + packageName + "." + className + "\n";
  }

  std::string genericSource(const std::string& packageName, const std::string& className) override {
    return hostHooks().genericSource(packageName, className);
  }

  std::string objectFile(const std::string& sourceFile) override { return hostHooks().objectFile(sourceFile); }

  std::string sourceIdentity(const std::string& sourceFile) override {
    const std::string identity = hostHooks().sourceIdentity(sourceFile);
    const bool isLength = breaks("objects.IdentitiesOfEqualLengthAreToldApart of sources");
    return isLength ? std::to_string(identity.size()) : identity;
  }
};

}  // namespace

Hooks& hooks() {
  static FaultyHooks instance;
  return instance;
}

}  // namespace faulty_host

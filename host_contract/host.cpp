// The hooks of a host, each noted while it runs.
#include "host_contract/host.h"

namespace orva::host_contract {

void NotedHooks::start(const std::string& folder) {
  const Calling call("the hook start");
  hooks_.start(folder);
}

std::optional<Raised> NotedHooks::takePending() {
  const Calling call("the hook takePending");
  return hooks_.takePending();
}

void* NotedHooks::newStringList(const std::vector<const char*>& elements) {
  const Calling call("the hook newStringList");
  return hooks_.newStringList(elements);
}

void* NotedHooks::boundNative(const char* symbol) {
  const Calling call("the hook boundNative");
  return hooks_.boundNative(symbol);
}

void NotedHooks::attachThread() {
  const Calling call("the hook attachThread");
  hooks_.attachThread();
}

bool NotedHooks::callNative(void (*native)()) {
  const Calling call("the hook callNative");
  return hooks_.callNative(native);
}

std::string NotedHooks::classSource(const std::string& packageName, const std::string& className) {
  const Calling call("the hook classSource");
  return hooks_.classSource(packageName, className);
}

std::string NotedHooks::brokenSource(const std::string& packageName, const std::string& className) {
  const Calling call("the hook brokenSource");
  return hooks_.brokenSource(packageName, className);
}

std::string NotedHooks::genericSource(const std::string& packageName, const std::string& className) {
  const Calling call("the hook genericSource");
  return hooks_.genericSource(packageName, className);
}

std::string NotedHooks::objectFile(const std::string& sourceFile) {
  const Calling call("the hook objectFile");
  return hooks_.objectFile(sourceFile);
}

std::string NotedHooks::sourceIdentity(const std::string& sourceFile) {
  const Calling call("the hook sourceIdentity");
  return hooks_.sourceIdentity(sourceFile);
}

}  // namespace orva::host_contract

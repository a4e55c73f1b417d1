// Two first callers of the system class loader on a host that synchronises nothing, so that each sees both of the
// library's values before either writes them. Run under the thread sanitizer.
#include <atomic>
#include <thread>

#include "classloader/natives.h"
#include "runtime_api/compiler.h"
#include "runtime_api/runtime.h"

/// Waits until both threads are here; orders nothing between them.
static void meet() {
  static std::atomic<int> missing{2};
  missing.fetch_sub(1, std::memory_order_relaxed);
  while (missing.load(std::memory_order_relaxed) > 0) std::this_thread::yield();
}

void Orva_raise(const char* /*exceptionClass*/, const char* /*message*/) {}

void* Orva_allocObject(const char* /*className*/) {
  thread_local char object;
  return &object;
}

namespace orva::compiler {

Runtime& Runtime::getInstance() {
  static Runtime runtime;
  return runtime;
}

std::string Runtime::getStandardLibraryPath() const {
  meet();
  return "lib";
}

const std::vector<std::string>& Runtime::getKlassPaths() const {
  static const std::vector<std::string> none;
  return none;
}

std::shared_ptr<Context> Compiler::activeRuntimeContext() { return nullptr; }
void Compiler::ensureSourceLoadedInActiveJit(const std::string& /*path*/, std::shared_ptr<Context> /*context*/) {}
bool PackageLayout::isValidPackageName(std::string_view /*name*/) { return false; }

}  // namespace orva::compiler

int main() {
  orva::compiler::Runtime::getInstance();
  std::thread first(orva_ClassLoader_getSystem);
  std::thread second(orva_ClassLoader_getSystem);
  first.join();
  second.join();
}

// Two first callers of the system class loader on the plain host, for the thread sanitizer. The host synchronises
// nothing, and each caller reads both of the library's values before either writes them.
#include <atomic>
#include <thread>

#include "classloader/natives.h"
#include "runtime_api/compiler.h"

/// Waits until both threads are here, without synchronising them.
std::string orva::compiler::Runtime::getStandardLibraryPath() const {
  static std::atomic<int> missing{2};
  missing.fetch_sub(1, std::memory_order_relaxed);
  while (missing.load(std::memory_order_relaxed) > 0) std::this_thread::yield();
  return "lib";
}

int main() {
  std::thread first(orva_ClassLoader_getSystem);
  std::thread second(orva_ClassLoader_getSystem);
  first.join();
  second.join();
}

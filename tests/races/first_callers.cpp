// Two first callers of the system class loader on the plain host, which synchronises nothing, so that each sees both of
// the library's values before either writes them. Run under the thread sanitizer.
#include <atomic>
#include <thread>

#include "classloader/natives.h"
#include "runtime_api/compiler.h"

/// Waits until both threads are here; orders nothing between them.
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

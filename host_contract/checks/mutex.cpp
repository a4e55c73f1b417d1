// Asks for the mutex from a thread of its own: the calling one may hold it, and may then not try to lock it.
#include "host_contract/checks/mutex.h"

#include <chrono>
#include <mutex>
#include <thread>

#include "host_contract/check.h"
#include "runtime_api/reflection.h"

namespace orva::host_contract {

void expectFreeMutex(const std::string& when) {
  bool isFree = false;
  std::thread([&isFree] {
    // Another thread of the host may hold it for a moment.
    for (int attempt = 0; attempt < 1000 && !isFree; ++attempt) {
      isFree = gReflectionMutex.try_lock();
      if (!isFree) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    if (isFree) gReflectionMutex.unlock();
  }).join();
  expect(isFree, "gReflectionMutex is held " + when);
}

}  // namespace orva::host_contract

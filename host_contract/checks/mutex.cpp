// Tries the mutex on another thread, because the calling one may hold it, and must not try to lock it then.
#include "host_contract/checks/mutex.h"

#include <chrono>
#include <mutex>
#include <thread>

#include "host_contract/check.h"
#include "host_contract/host.h"

namespace orva::host_contract {

void expectFreeMutex(const std::string& when) {
  bool isFree = false;
  std::thread([&isFree] { isFree = lockMutexForSomeTime().owns_lock(); }).join();
  expect(isFree, "gReflectionMutex is held " + when);
}

std::unique_lock<std::mutex> lockMutexForSomeTime() {
  std::unique_lock<std::mutex> lock(gReflectionMutex, std::try_to_lock);
  // Another thread of the host may hold it for a moment.
  for (int attempt = 0; attempt < 1000 && !lock.owns_lock(); ++attempt) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    static_cast<void>(lock.try_lock());
  }
  return lock;
}

}  // namespace orva::host_contract

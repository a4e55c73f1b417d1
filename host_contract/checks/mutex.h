// Whether anyone holds the registry's mutex.
#pragma once

#include <mutex>
#include <string>

namespace orva::host_contract {

/// Throws `Broken` when a thread holds `gReflectionMutex`, and still does a second later.
/// @param when names the moment, for the message.
void expectFreeMutex(const std::string& when);

/// Locks `gReflectionMutex`, or gives up after a second: only a few checks test whether it is free.
std::unique_lock<std::mutex> lockMutexForSomeTime();

}  // namespace orva::host_contract

// Whether anyone holds the registry's mutex.
#pragma once

#include <mutex>
#include <string>

namespace orva::host_contract {

/// Throws `Broken` when a thread holds `gReflectionMutex`, and goes on holding it for a second.
/// @param when names the moment, for the message.
void expectFreeMutex(const std::string& when);

/// Locks `gReflectionMutex`, or gives up after a second: whether it is ever free is a concern of few checks.
std::unique_lock<std::mutex> lockMutexForSomeTime();

}  // namespace orva::host_contract

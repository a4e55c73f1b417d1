// Whether anyone holds the registry's mutex.
#pragma once

#include <string>

namespace orva::host_contract {

/// Throws `Broken` when a thread holds `gReflectionMutex`, and goes on holding it for a second.
/// @param when names the moment, for the message.
void expectFreeMutex(const std::string& when);

}  // namespace orva::host_contract

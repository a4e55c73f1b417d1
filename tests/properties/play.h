// Plays a world with the library: the scripted host answers as the world says.
#pragma once

#include <functional>
#include <string>

#include "world.h"

namespace model {

/// What the library does with a call in a world; changes the world as the call does. Complaints of the scripted host
/// are among the calls; each begins with "complaint".
/// @param onCall is called with each call to the host or the system. For a call to the system, it returns the error to
///        report, or 0.
Outcome observed(World& world, const Call& call, const std::function<int(const std::string&)>& onCall = nullptr);

}  // namespace model

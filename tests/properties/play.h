// Plays a world: the scripted host answers as the world says, and the library does the work.
#pragma once

#include <functional>
#include <string>

#include "world.h"

namespace model {

/// What the library does with a call in a world; changes the world as the call does.
/// What the scripted host has to complain of stands among the calls, each time with "complaint" before it.
/// @param onCall sees each call into the host and into the system as it is made; for a call into the system it returns
///        the error that this reports, or 0.
Outcome observed(World& world, const Call& call, const std::function<int(const std::string&)>& onCall = nullptr);

}  // namespace model

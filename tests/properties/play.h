// Plays a world: the scripted host answers as the world says, and the library does the work.
#pragma once

#include "world.h"

namespace model {

/// What the library does with a call in a world; changes the world as the call does.
/// What the scripted host has to complain of stands among the calls, each time with "complaint" before it.
Outcome observed(World& world, const Call& call);

}  // namespace model

// The natives as rules: what each is expected to do, stated without a line of the library.
#pragma once

#include "world.h"

namespace model {

/// What a call is expected to do in a world; changes the world as the call does.
Outcome expected(World& world, const Call& call);

}  // namespace model

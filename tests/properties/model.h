// The natives as rules: what each is expected to do, without any code of the library.
#pragma once

#include "world.h"

namespace model {

/// What a call is expected to do in a world; changes the world as the call does.
/// @param callsWithMemory after this many calls to the host, the next allocation fails.
Outcome expected(World& world, const Call& call, std::optional<std::size_t> callsWithMemory = std::nullopt);

}  // namespace model

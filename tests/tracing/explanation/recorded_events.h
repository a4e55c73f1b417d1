// What a recorder would have seen of a call that was played in a world.
#pragma once

#include "tracing/reader/trace.h"
#include "world.h"

namespace model {

/// @param before the world as the call met it: its answers are given again, so that the calls get their results.
orva::tracing::Event eventsOf(World before, const Call& call, const Outcome& outcome);

}  // namespace model

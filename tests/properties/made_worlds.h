// Worlds made from bytes. Each choice uses one byte, so any bytes make a world, and fewer or smaller bytes make a
// simpler one.
#pragma once

#include <cstdint>
#include <vector>

#include "world_text.h"

namespace model {

/// Makes a world and up to six calls. `getSystem` is not among them, so any process can play them.
Story storyOf(const std::vector<uint8_t>& bytes);

/// Makes a world and up to six calls, which may include `getSystem`; only a fresh process can play them.
Story freshStoryOf(const std::vector<uint8_t>& bytes);

}  // namespace model

// Worlds made from bytes: each choice takes one, so that any bytes make a world, and fewer or smaller ones a simpler
// one.
#pragma once

#include <cstdint>
#include <vector>

#include "world_text.h"

namespace model {

/// Makes a world and up to six calls. The calls leave `getSystem` out, so that any process can play them.
Story storyOf(const std::vector<uint8_t>& bytes);

/// Makes a world and up to six calls, `getSystem` among them; only a fresh process can play these.
Story freshStoryOf(const std::vector<uint8_t>& bytes);

}  // namespace model

// Inputs that are worlds, in which the library must do what the rules of its natives say.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/properties/world.h"

/// Plays an input: a world and calls, as text for `properties_tests --world`. Skips lines that cannot be read, calls of
/// other natives than these, and whatever cannot be played. A difference is a finding.
void playWorld(const uint8_t* data, std::size_t size, const std::vector<model::Native>& natives);

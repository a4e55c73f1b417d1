// Inputs that are worlds: the library must do in them what the rules of its natives say.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/properties/world.h"

/// Reads an input as a world and calls, in the form that `properties_tests --world` plays, and plays them. Lines that
/// are none, calls of other natives than these, and what could not be played are left out. A difference is a finding.
void playWorld(const uint8_t* data, std::size_t size, const std::vector<model::Native>& natives);

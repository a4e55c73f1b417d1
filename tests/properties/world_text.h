// Worlds and calls as text, one line for each thing, which both people and the program can read.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "world.h"

namespace model {

/// A world and the calls that are made in it, in order.
struct Story {
  World world;
  std::vector<Call> calls;
};

/// Name of an operation, as the scripted host records it.
const char* nameOf(Operation operation);

/// Puts text in quotes; quotes, backslashes and bytes outside of plain ASCII are written as \xHH.
std::string quoted(const std::string& text);
std::string quoted(const std::optional<std::string>& text);

std::string textOf(const Call& call);
std::string textOf(const Story& story);

/// Reads what `textOf` writes. Throws `std::runtime_error` with the number of the line at fault.
Story storyFrom(const std::string& text);

}  // namespace model

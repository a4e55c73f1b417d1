// Whether the library does what the rules say.
#pragma once

#include <string>

#include "world_text.h"

namespace model {

/// Plays a story by the rules and with the library.
/// @return empty if both agree on every call; otherwise the first call on which they differ, what each did, and the
///         command that plays the story again.
std::string disagreement(const Story& story);

/// Describes what a call did, with a line for each call and for the result.
std::string textOf(const Outcome& outcome);

/// The story that `disagreement` is playing; null if none.
const Story* storyInPlay();

/// The command that plays a story again.
std::string commandFor(const Story& story);

}  // namespace model

// Whether the library does what the rules say.
#pragma once

#include <string>

#include "world_text.h"

namespace model {

/// Plays a story by the rules and by the library.
/// @return empty when both agree at every call; otherwise the whole story, the first call at which they differ, what
///         each did, and the command that plays the story again.
std::string disagreement(const Story& story);

/// What a call did, a line for each thing.
std::string textOf(const Outcome& outcome);

/// The story that `disagreement` plays right now; null when it plays none.
const Story* storyInPlay();

/// The command that plays a story again.
std::string commandFor(const Story& story);

}  // namespace model

// A path: one way through a native, as a world and a call in it. The rules in `properties/` say what must happen.
#pragma once

#include <string>
#include <vector>

#include "world_text.h"

namespace faults {

/// The last call is tried; the calls before it are its history.
struct Path {
  std::string name;
  model::Story story;
};

/// The paths of all natives, in the order of `natives.h`.
std::vector<Path> everyPath();

inline const model::Call& callOf(const Path& path) { return path.story.calls.back(); }

}  // namespace faults

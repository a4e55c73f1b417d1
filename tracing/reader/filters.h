// Removes from a trace everything that the user did not ask for.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tracing/reader/trace.h"

namespace orva::tracing {

/// The conditions that a native must meet, all of them.
struct Filter {
  std::vector<CallId> natives;      ///< one of these; any, where it is empty
  std::string text;                 ///< a part of a name, an argument or a result of it, or of anything in it
  std::uint64_t leastDuration = 0;  ///< in nanoseconds
};

/// The natives that have a name: `ClassLoader.getTypeByName`, `getTypeByName` or `orva_ClassLoader_getTypeByName`.
/// @return nothing if no native has that name.
std::vector<CallId> nativesNamed(std::string_view name);

/// Keeps the outermost calls that match, or that have a native in them which does, with all that they called. An empty
/// filter keeps everything.
void keepMatching(Trace& trace, const Filter& filter);

}  // namespace orva::tracing

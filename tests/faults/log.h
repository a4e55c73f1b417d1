// What a run does, written where the parent of its process reads it.
#pragma once

#include <string>
#include <vector>

namespace faults::log {

/// Forgets what was written.
void clear();

/// Writes a line.
void write(const std::string& line);

/// The lines since `clear`.
std::vector<std::string> lines();

}  // namespace faults::log

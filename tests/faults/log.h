// A log of a run that the parent of its process can read.
#pragma once

#include <string>
#include <vector>

namespace faults::log {

void clear();
void write(const std::string& line);

/// The lines since `clear`.
std::vector<std::string> lines();

}  // namespace faults::log

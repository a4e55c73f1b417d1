// Where the time of a trace went, and which names gave no type.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "tracing/reader/text_tree.h"
#include "tracing/reader/trace.h"

namespace orva::tracing {

/// What all calls of one name took, in nanoseconds.
struct Share {
  std::string name;
  std::uint64_t calls = 0;
  std::uint64_t total = 0;  ///< counts a call within one of the same name only once
  std::uint64_t self = 0;   ///< without the calls from it; of a source, without the loads nested in its own
};

/// One load of a source, of objects, or of sources that are compiled ahead.
struct Load {
  std::string source;    ///< its file; of several, the first and how many more
  std::string neededBy;  ///< the native that it happened in, with the name that it was asked for
  std::uint64_t total = 0;
  std::uint64_t self = 0;  ///< without the loads nested in it
};

/// A name for which natives returned null.
struct Miss {
  std::string name;  ///< in quotes; of a native that takes none, the call
  std::uint64_t calls = 0;
  std::uint64_t raises = 0;  ///< of the calls
};

/// Each list begins with what matters most: what took longest by itself, or was missed most often; then by name.
struct Summary {
  std::uint64_t total = 0;  ///< of the outermost calls
  std::vector<Share> natives;
  std::vector<Share> neighbours;  ///< with the readings of the registry and the walks of the type table
  std::vector<Share> sources;
  std::vector<Load> loads;
  std::vector<Miss> misses;
};

/// Adds up the calls of all processes.
Summary summaryOf(const std::vector<Trace>& traces);

/// Prints a table for each list that is not empty, with its first 20 rows.
void printSummary(const Summary& summary, const TreeStyle& style, std::ostream& out);

}  // namespace orva::tracing

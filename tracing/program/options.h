// The command line of `orva-trace`.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tracing/events/event_file.h"
#include "tracing/reader/filters.h"

namespace orva::tracing {

/// What `orva-trace` is asked to do: run a program, read a folder of traces, or show a running process.
struct Options {
  std::vector<std::string> command;  ///< the program and its arguments
  std::string read;                  ///< a folder of traces
  pid_t dump = 0;                    ///< a running process
  std::string keep;                  ///< where the traces stay
  std::string output;                ///< of the tree or the summary
  std::string json;
  std::string html;
  bool wantsSummary = false;
  bool follows = true;
  std::uint64_t limit = usualLimit;
  Filter filter;

  /// Tells whether to print the calls, instead of only writing them to files of other formats.
  bool wantsText() const { return wantsSummary || !output.empty() || (json.empty() && html.empty()); }
};

/// Parses the command line. Prints help or the version and ends the process with 0 when they are asked for; prints what
/// is wrong and ends it with 2 when something is.
Options parseOptions(int argc, char** argv);

}  // namespace orva::tracing

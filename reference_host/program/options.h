// The command line of `orva-host`.
#pragma once

#include <optional>
#include <string>
#include <vector>

/// What `orva-host run` is asked to do.
struct RunOptions {
  std::string program;
  std::vector<std::string> classPath;
  std::string standardLibrary;
  std::vector<std::string> arguments;  ///< of the program
  std::optional<std::string> trace;    ///< the file for the trace, if one is wanted; empty for standard error
};

/// Parses the command line. Prints help or the version and ends the process with 0 when they are asked for; prints what
/// is wrong and ends it with 2 when something is.
RunOptions parseOptions(int argc, char** argv);

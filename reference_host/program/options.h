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

/// Parses the command line. For `--help` and `--version`, prints the text and ends the process with 0. If the command
/// line is wrong, prints why and ends the process with 2.
RunOptions parseOptions(int argc, char** argv);

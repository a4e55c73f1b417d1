// What to put into a bug report when the engine fails.
#pragma once

#include <string>

namespace orva::program {

/// The versions of the program and of LLVM, and the target of compiled code, in one line.
std::string versionLine();

/// Has LLVM report its fatal errors as `reportEngineFailure` does, and end the process with status 1. The arguments are
/// those of `main`, which the report shows.
void reportFatalErrors(int argc, char** argv);

/// Prints on standard error that the engine failed, and what helps to find out why: what the calling thread was at,
/// the versions, and the command.
void reportEngineFailure(const char* reason);

}  // namespace orva::program

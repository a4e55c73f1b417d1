// What to put into a bug report when the engine fails.
#pragma once

#include <string>

namespace orva::program {

/// The versions of the program and of LLVM, and the target of compiled code, in one line.
std::string versionLine();

/// Makes LLVM report its fatal errors with `reportEngineFailure` and end the process with status 1. The report shows
/// the arguments, which are those of `main`.
void reportFatalErrors(int argc, char** argv);

/// Prints on standard error that the engine failed, and what helps to find out why: what the calling thread was doing,
/// the versions, and the command.
void reportEngineFailure(const char* reason);

}  // namespace orva::program

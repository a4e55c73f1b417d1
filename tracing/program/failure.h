// The errors of `orva-trace`.
#pragma once

#include <cstdio>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>

namespace orva::tracing {

constexpr int ownFailure = 2;
constexpr int cannotRun = 126;
constexpr int notFound = 127;

/// Ends `orva-trace` before a program runs; `status` is the one that shells have for it.
struct Failure : std::runtime_error {
  Failure(int exitStatus, const std::string& message) : std::runtime_error(message), status(exitStatus) {}
  int status;
};

/// Prints one line to standard error.
inline void report(const std::string& message) { std::fprintf(stderr, "orva-trace: %s\n", message.c_str()); }

/// Prints why something failed.
inline void report(const std::exception& failure) {
  const bool isMemory = dynamic_cast<const std::bad_alloc*>(&failure) != nullptr;
  report(isMemory ? "memory ran out: raise its limit (ulimit -v), or record less with --limit" : failure.what());
}

}  // namespace orva::tracing

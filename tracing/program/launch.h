// Running a program with the recorder in it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orva::tracing {

struct Launch {
  std::string program;               ///< its file
  std::vector<std::string> command;  ///< its name and arguments
  std::string folder;                ///< for the traces
  std::uint64_t limit = 0;
  bool follows = true;
};

/// What ended a program, or the wait for it.
struct Ended {
  int waitStatus = 0;   ///< as `waitpid` gives it
  int interrupted = 0;  ///< the signal that ended the wait while the program still ran
};

/// Runs a program and waits for its end. SIGINT and SIGQUIT, which a terminal sends to the program too, are ignored
/// meanwhile; SIGTERM and the others that end a process end the wait. Throws `Failure` when the program cannot be
/// started.
Ended runTraced(const Launch& launch);

/// Ends this process as the program ended: by the same signal, or with the same status.
[[noreturn]] void endAs(const Ended& ended);

}  // namespace orva::tracing

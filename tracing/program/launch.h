// Running a program with the recorder in it.
#pragma once

#include <array>
#include <csignal>
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

/// Sets the signals for the time in which a program runs and its trace is read. SIGINT and SIGQUIT, which a terminal
/// also sends to the program, are ignored. SIGTERM and the others that end a process wait for `await`. Writing never
/// ends orva-trace by SIGPIPE or SIGXFSZ, because orva-trace must still end with the program's status.
class Signals {
 public:
  Signals();

  /// Makes all as it was before; a child starts so.
  void restore() const;
  /// Lets the signals that people send end orva-trace again. Those that came before are forgotten.
  void letEnd() const;
  int await() const;

 private:
  static constexpr std::array changed = {SIGINT, SIGQUIT, SIGPIPE, SIGXFSZ, SIGCHLD};
  std::array<struct sigaction, changed.size()> before_{};
  sigset_t awaited_{};
  sigset_t maskBefore_{};
};

/// Runs a program and waits for its end, or for a signal that ends the wait. Throws `Failure` when the program cannot
/// be started.
Ended runTraced(const Launch& launch, const Signals& signals);

/// Ends this process as the program ended: by the same signal, or with the same status.
[[noreturn]] void endAs(const Ended& ended);

}  // namespace orva::tracing

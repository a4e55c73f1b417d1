// Whose turn it is on a thread: what the host does for itself is not the library's doing.
#pragma once

namespace scripted {

/// While one lives, the thread runs the host or the test, and not the library.
class HostsTurn {
 public:
  HostsTurn() { ++nested_; }
  ~HostsTurn() { --nested_; }
  HostsTurn(const HostsTurn&) = delete;
  HostsTurn& operator=(const HostsTurn&) = delete;

  static bool isNow() { return nested_ > 0; }

 private:
  static inline thread_local int nested_ = 0;
};

}  // namespace scripted

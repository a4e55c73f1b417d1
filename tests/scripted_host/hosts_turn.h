// Whose turn it is on a thread, to tell what the host does from what the library does.
#pragma once

namespace scripted {

/// While one lives, the thread runs the host or the test, not the library.
class HostsTurn {
 public:
  HostsTurn() { ++nested_; }
  ~HostsTurn() { --nested_; }
  HostsTurn(const HostsTurn&) = delete;
  HostsTurn& operator=(const HostsTurn&) = delete;

  static bool isNow() { return nested_ > 0; }

 private:
  friend class LibrarysTurn;
  static inline thread_local int nested_ = 0;
};

/// While one lives, it is the library's turn again.
class LibrarysTurn {
 public:
  LibrarysTurn() { HostsTurn::nested_ = 0; }
  ~LibrarysTurn() { HostsTurn::nested_ = outside_; }
  LibrarysTurn(const LibrarysTurn&) = delete;
  LibrarysTurn& operator=(const LibrarysTurn&) = delete;

 private:
  const int outside_ = HostsTurn::nested_;
};

}  // namespace scripted

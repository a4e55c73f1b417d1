// What one thread records: its open calls, and its current scan and lock.
#pragma once

#include <cstdint>

#include "tracing/recorder/payload.h"
#include "tracing/recorder/scan.h"

namespace orva::tracing {

/// What a thunk leaves on the stack, see thunks.S.
struct Frame {
  std::uint64_t arguments[6];
  std::uint64_t results[2];
  std::uint64_t isRecorded;
  std::uint64_t slot;
};

class ThreadTrace {
 public:
  /// Notes that a function is about to be called.
  void enter(const Frame& frame);
  /// Notes that it returned.
  void leave(const Frame& frame);
  /// Notes that an exception left the call of a frame, or the innermost one for null. `type` is the mangled name, or
  /// null for an exception that is not of C++.
  void unwind(const Frame* frame, const char* type);
  /// Ends the open calls when the thread ends.
  void finish();
  /// Continues in the child of a fork as another thread, which does not end the calls that the parent began.
  void continueInChild();

 private:
  struct OpenCall {
    const Frame* frame;
    const char* key;     ///< of a native, the name that it scans for
    CallRecord* record;  ///< in the file; null when there was no room for it
    std::uint64_t begin;
    std::uint16_t slot;
  };

  void announce(std::uint64_t time);
  void begin(const Frame& frame, std::uint64_t time);
  void enterRegistry(std::uint64_t slot);
  void leaveRegistry(const Frame& frame);
  void closeScan(std::uint64_t time);
  void closeJumped(const Frame* deepest, std::uint64_t time);
  void openCall(const Frame* frame, std::uint64_t slot, const char* key, std::uint64_t time);
  const OpenCall* closeCall();
  void end(RecordKind kind, std::uint64_t time);
  void endReturned(std::uint64_t time);
  void enterLock(std::uint64_t time);
  void leaveLock(const Frame& frame);
  void enterUnlock();
  void* write(RecordKind kind, std::uint16_t call, std::uint64_t time);
  std::uint16_t depth() const { return static_cast<std::uint16_t>(openCount_ - inherited_); }

  static constexpr std::uint32_t mostOpenCalls = 1U << 15;

  // All of a new one is zero.
  std::uint32_t number_;  ///< 0 until it is announced
  std::uint32_t openCount_;
  std::uint32_t inherited_;  ///< how many of the open calls began before a fork
  std::uint64_t briefSlot_;  ///< of the running registry call or lock, plus 1; these do not count as open calls
  LockRecord* lock_;         ///< in the file; null when there was no room for it
  std::uint64_t lockBegin_;
  std::uint64_t locked_;
  Scan scan_;
  Payload payload_;
  OpenCall open_[mostOpenCalls];
};

}  // namespace orva::tracing

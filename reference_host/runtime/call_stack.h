// The active calls of compiled code on each thread: how deep they may go, and how they led to an exception.
#pragma once

#include <cstddef>
#include <vector>

#include "reference_host/runtime/values.h"

namespace orva::runtime {

/// A call of a compiled method. It is part of the method's own stack frame: compiled code reserves the space and passes
/// it to `enterCall` and `leaveCall`.
struct CallFrame {
  const CallFrame* caller;         ///< null for the first call of a thread
  const char* method;              ///< as `package.Class.method`
  const SourceLocation* callSite;  ///< null when C++ made the call
  std::size_t depth;               ///< how many calls enclose it
  std::size_t digest;              ///< of all places that led to it
};

/// Where a method was when an exception was thrown in it or in what it called.
struct Place {
  const SourceLocation* location;  ///< null when C++ made the call
  const char* method;

  bool operator==(const Place& other) const { return location == other.location && method == other.method; }
};

/// The places that led to an exception, innermost first. Of deep calls only those at both ends are kept, so that
/// exceptions cost no more there; the digests help to reconstruct the others.
struct CallTrace {
  const Place* innermost;
  std::size_t innermostCount;
  std::size_t omitted;
  const Place* outermost;
  std::size_t outermostCount;
  std::size_t digestInside;   ///< of all places but the innermost ones
  std::size_t digestOutside;  ///< of the outermost ones
};

/// Notes that a compiled method begins. Returns false, and notes nothing, when the stack has no room for it.
bool enterCall(CallFrame& frame, const char* method, const SourceLocation* callSite);

/// Tells whether this thread is running a method.
bool isRunning(const char* method);

/// Tells whether the stack has room for `size` more bytes of a compiled method.
bool hasStack(std::size_t size);

/// Notes that a compiled method returns.
void leaveCall(const CallFrame& frame);

/// Notes that a compiled method continues after it caught an exception from a method that it called.
void returnToCall(const CallFrame& frame);

/// Restores the active calls when C++ code that called compiled code continues or is unwound.
class CallBoundary {
 public:
  CallBoundary();
  ~CallBoundary();
  CallBoundary(const CallBoundary&) = delete;
  CallBoundary& operator=(const CallBoundary&) = delete;

 private:
  const CallFrame* top_;
};

/// How many places the trace of an exception has if this thread throws it now; none outside of methods.
std::size_t placesInTrace();

/// Makes that trace.
/// @param location where the running method is.
/// @param places room for `placesInTrace()` of them.
CallTrace traceOf(const SourceLocation* location, Place* places);
constexpr std::size_t mostPlacesInTrace = 64;

/// A trace with the omitted places filled in, if recursion explains them all; then `outermost` is empty.
struct FullTrace {
  std::vector<Place> innermost;
  std::size_t omitted;
  std::vector<Place> outermost;
};
FullTrace completeTrace(const CallTrace& trace);

/// How many bytes of this thread's stack are left.
std::size_t remainingStack();

}  // namespace orva::runtime

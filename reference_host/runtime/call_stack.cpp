// A list of frames for each thread, linked through the stack itself.
#include "reference_host/runtime/call_stack.h"

#include <pthread.h>
#include <sys/auxv.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <utility>

#include "reference_host/runtime/address_space.h"

namespace orva::runtime {

namespace {

constexpr std::size_t kibibyte = 1024;

constexpr std::size_t keptAtEachEnd = mostPlacesInTrace / 2;

struct CallStack {
  const CallFrame* top = nullptr;
  /// The lowest address that compiled code may use; null until the first call.
  const char* limit = nullptr;
  /// The outermost calls, by depth; at each depth, the last one.
  std::array<const CallFrame*, keptAtEachEnd + 1> outermost{};
};

thread_local CallStack calls;

/// If the address space is limited, no thread starts with a smaller stack.
constexpr std::size_t leastStack = 128 * kibibyte;

struct Bounds {
  const char* lowest;
  std::size_t size;
};

/// The stack of the first thread, which the system lets grow down to its limit. It ends after the name of the program.
Bounds firstStack() {
  const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  const std::uintptr_t name = getauxval(AT_EXECFN);
  const std::uintptr_t end = (name + std::strlen(reinterpret_cast<const char*>(name)) + page) / page * page;
  rlimit limit{};
  getrlimit(RLIMIT_STACK, &limit);
  const std::size_t size = std::min<rlim_t>(limit.rlim_cur, end) / page * page;
  return {reinterpret_cast<const char*>(end - size), size};
}

Bounds wholeStack() {
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) {
    // The C library needs /proc to find the bounds of the first thread's stack, and memory for those of any thread.
    if (gettid() == getpid()) return firstStack();
    throw OutOfMemory("stack", leastStack, "bytes");
  }
  void* lowest = nullptr;
  std::size_t size = 0;
  pthread_attr_getstack(&attributes, &lowest, &size);
  pthread_attr_destroy(&attributes);
  return {static_cast<const char*>(lowest), size};
}

/// The part of the stack that is used. An unlimited stack gets a limit here, so that endless recursion ends.
Bounds stackBounds() {
  const Bounds whole = wholeStack();
  const std::size_t used = std::min(whole.size, 64 * mebibyte);
  return {whole.lowest + (whole.size - used), used};
}

/// If the address space is limited, a stack that cannot grow ends the process. It therefore grows at once to what it
/// may use, which is at most half of what is left. Throws `OutOfMemory` if that is too little.
__attribute__((no_sanitize("address"))) Bounds withRoom(Bounds stack) {
  if (!isAddressSpaceLimited()) return stack;
  const std::size_t affordable = remainingAddresses(2 * stack.size) / 2;
  if (affordable < std::min(leastStack, stack.size)) throw OutOfMemory("stack", leastStack, "bytes");
  stack = {stack.lowest + (stack.size - affordable), affordable};
  *const_cast<volatile char*>(stack.lowest + stack.size / 8) = 0;
  return stack;
}

/// Leaves room below the limit for the runtime and for natives.
const char* stackLimit() {
  if (calls.limit == nullptr) {
    const Bounds stack = withRoom(stackBounds());
    calls.limit = stack.lowest + std::clamp(stack.size / 4, 16 * kibibyte, 2 * mebibyte);
  }
  return calls.limit;
}

std::size_t mixed(std::size_t digest, const Place& place) {
  constexpr std::size_t prime = 0x100000001b3;
  digest = (digest ^ reinterpret_cast<std::uintptr_t>(place.location)) * prime;
  return (digest ^ reinterpret_cast<std::uintptr_t>(place.method)) * prime;
}

}  // namespace

bool enterCall(CallFrame& frame, const char* method, const SourceLocation* callSite) {
  if (reinterpret_cast<const char*>(&frame) < stackLimit()) return false;
  const CallFrame* caller = calls.top;
  frame = {caller, method, callSite, 0, 0};
  if (caller != nullptr) {
    frame.depth = caller->depth + 1;
    frame.digest = mixed(caller->digest, {callSite, caller->method});
  }
  if (frame.depth < calls.outermost.size()) calls.outermost[frame.depth] = &frame;
  calls.top = &frame;
  return true;
}

bool isRunning(const char* method) {
  const CallFrame* frame = calls.top;
  while (frame != nullptr && frame->method != method) frame = frame->caller;
  return frame != nullptr;
}

bool hasStack(std::size_t size) {
  const auto* const here = static_cast<const char*>(__builtin_frame_address(0));
  const char* const limit = stackLimit();
  return here > limit && static_cast<std::size_t>(here - limit) > size;
}

void leaveCall(const CallFrame& frame) { calls.top = frame.caller; }

void returnToCall(const CallFrame& frame) { calls.top = &frame; }

CallBoundary::CallBoundary() : top_(calls.top) {}

CallBoundary::~CallBoundary() { calls.top = top_; }

static std::size_t callCount() { return calls.top == nullptr ? 0 : calls.top->depth + 1; }

std::size_t placesInTrace() { return std::min(callCount(), mostPlacesInTrace); }

CallTrace traceOf(const SourceLocation* location, Place* places) {
  const bool isDeep = callCount() > mostPlacesInTrace;
  const std::size_t innermostCount = isDeep ? keptAtEachEnd : callCount();
  CallTrace trace{places, innermostCount, 0, nullptr, 0, 0, 0};
  const CallFrame* frame = calls.top;
  for (std::size_t i = 0; i < innermostCount; ++i, frame = frame->caller) {
    *places++ = {location, frame->method};
    location = frame->callSite;
    trace.digestInside = frame->digest;
  }
  if (!isDeep) return trace;
  trace.omitted = callCount() - mostPlacesInTrace;
  trace.outermost = places;
  trace.outermostCount = keptAtEachEnd;
  trace.digestOutside = calls.outermost[keptAtEachEnd]->digest;
  for (std::size_t i = keptAtEachEnd; i > 0; --i) {
    *places++ = {calls.outermost[i]->callSite, calls.outermost[i - 1]->method};
  }
  return trace;
}

/// Tells whether the omitted places repeat the last of the innermost ones.
static bool isRepetition(const CallTrace& trace, const Place* pattern, std::size_t period) {
  std::size_t digest = trace.digestOutside;
  for (std::size_t i = trace.omitted; i > 0; --i) digest = mixed(digest, pattern[(i - 1) % period]);
  return digest == trace.digestInside;
}

FullTrace completeTrace(const CallTrace& trace) {
  const Place* const end = trace.innermost + trace.innermostCount;
  FullTrace full{{trace.innermost, end}, trace.omitted, {trace.outermost, trace.outermost + trace.outermostCount}};
  for (std::size_t period = 1; full.omitted > 0 && period <= trace.innermostCount; ++period) {
    const Place* const pattern = end - period;
    if (!isRepetition(trace, pattern, period)) continue;
    full.innermost.reserve(mostPlacesInTrace + trace.omitted);
    for (std::size_t i = 0; i < trace.omitted; ++i) full.innermost.push_back(pattern[i % period]);
    full.innermost.insert(full.innermost.end(), full.outermost.begin(), full.outermost.end());
    return {std::move(full.innermost), 0, {}};
  }
  return full;
}

std::size_t remainingStack() {
  static thread_local const char* const lowest = stackBounds().lowest;
  const auto* const here = static_cast<const char*>(__builtin_frame_address(0));
  return here > lowest ? static_cast<std::size_t>(here - lowest) : 0;
}

}  // namespace orva::runtime

// A trace in memory: processes, their threads, and the nested calls of each.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tracing/calls/calls.h"
#include "tracing/events/event_file.h"

namespace orva::tracing {

/// Events that are nested deeper are left out, so that code that walks a trace may recurse.
constexpr std::size_t deepestNesting = 1000;

/// An argument or a result.
struct Value {
  StoredKind kind = StoredKind::null;
  std::int64_t number = 0;  ///< of an integer, a truth, a pointer, a count
  std::string text;         ///< of a text, and a type's name as a person writes it
  bool isCut = false;
  std::vector<Value> elements;  ///< the first texts of a list
};

enum class Ending {
  open,       ///< the call still ran when the trace was read
  abandoned,  ///< the process ended first
  unknown,    ///< recording stopped first
  returned,   ///< with a result, or none
  threw,
  jumped,
};

struct Raise {
  std::string exceptionClass;
  std::string message;
};

/// One reading of the registry.
struct Scan {
  std::string key;
  std::int32_t count = 0;
  std::uint32_t read = 0;
  std::uint32_t fullNames = 0;
  std::uint32_t shortNames = 0;
  std::uint32_t tails = 0;
  std::vector<std::string> matches;  ///< the first ones
};

/// One walk of the type table.
struct Lock {
  std::uint64_t waited = 0;  ///< of the event's duration; for the rest of it the lock was held
  bool isAwaited = false;    ///< the thread did not have it yet
};

enum class EventKind { call, scan, lock };

/// A call, a scan or a lock. Times are nanoseconds after the start of the process.
struct Event {
  EventKind kind = EventKind::call;
  CallId call = CallId::count;
  std::uint64_t begin = 0;
  std::uint64_t duration = 0;
  std::vector<Value> arguments;
  Ending ending = Ending::open;
  std::vector<Value> results;         ///< the result, unless there is none, then the texts that the call filled
  std::optional<std::string> thrown;  ///< the type that was thrown; empty for anything that is not a C++ exception
  Scan scan;
  Lock lock;
  std::vector<Event> inner;  ///< in the order of time

  bool hasEnded() const { return ending >= Ending::returned; }
  /// Without its end, `duration` is the time until the last event of the process.
  bool isEndKnown() const { return ending != Ending::abandoned && ending != Ending::unknown; }
  bool isNative() const { return kind == EventKind::call && descriptionOf(call).isNative; }
  /// Nothing where a native has not ended.
  const Value* result() const { return results.empty() ? nullptr : &results.front(); }
};

/// What a native raised: the last call of `Orva_raise` that it made itself.
std::optional<Raise> raiseOf(const Event& native);

struct Thread {
  std::uint32_t process = 0;
  std::uint32_t id = 0;
  std::string name;
  std::vector<Event> events;
};

/// What one process recorded, and its children that did not become other programs.
struct Trace {
  std::string program;
  std::string folder;
  std::vector<std::string> arguments;
  std::uint32_t process = 0;
  std::uint32_t parent = 0;
  std::uint64_t startOfDay = 0;  ///< in nanoseconds since 1970
  Attached attached = Attached::notYet;
  Stopped stopped = Stopped::no;
  int error = 0;
  std::uint32_t unseen = 0;
  std::uint32_t missed = 0;
  std::uint64_t tooDeep = 0;      ///< events that were left out
  std::uint64_t lost = 0;         ///< records that were begun and not finished
  std::uint64_t damagedFrom = 0;  ///< the byte from which the file could not be read; 0 for none
  std::vector<Thread> threads;
};

/// The processes that still write to a trace.
struct Writers {
  std::uint64_t now = 0;  ///< the time of CLOCK_MONOTONIC at which they did
  std::set<std::uint32_t> processes;
};

/// Reads what a process and its forked children have recorded so far. A call that has not ended lasts until now if its
/// process still writes, and otherwise until the last event. Throws `std::runtime_error` for a file that is not a
/// trace.
Trace readTrace(const std::string& path, const Writers& writers = {});

}  // namespace orva::tracing

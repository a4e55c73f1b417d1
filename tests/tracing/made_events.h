// Builds values and events as the reader reads them from a file, for tests that need no file.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tracing/reader/trace.h"

namespace orva::tracing {

inline Value number(std::int64_t number, StoredKind kind = StoredKind::integer) {
  Value value;
  value.kind = kind;
  value.number = number;
  return value;
}

inline Value truth(bool isTrue) { return number(isTrue ? 1 : 0, StoredKind::truth); }

/// A pointer; null for 0.
inline Value pointer(std::int64_t address) { return address == 0 ? Value() : number(address, StoredKind::pointer); }

inline Value text(std::string bytes) {
  Value value;
  value.kind = StoredKind::text;
  value.text = std::move(bytes);
  return value;
}

/// A list, of which only the first texts are recorded.
inline Value list(const std::vector<std::string>& texts) {
  Value value = number(static_cast<std::int64_t>(texts.size()), StoredKind::count);
  for (const std::string& each : texts) {
    if (value.elements.size() < mostElements) value.elements.push_back(text(each));
  }
  return value;
}

/// A call that returned.
inline Event call(CallId id, std::vector<Value> arguments, std::vector<Value> results = {},
                  std::vector<Event> inner = {}) {
  Event event;
  event.call = id;
  event.arguments = std::move(arguments);
  event.ending = Ending::returned;
  event.results = std::move(results);
  event.inner = std::move(inner);
  return event;
}

/// The call as it leaves by an exception.
inline Event thrown(Event event, const std::string& type) {
  event.ending = Ending::threw;
  event.thrown = type;
  event.results.clear();
  return event;
}

inline Event lock() {
  Event event;
  event.kind = EventKind::lock;
  return event;
}

inline Event scan(Scan scan) {
  Event event;
  event.kind = EventKind::scan;
  event.ending = Ending::returned;
  event.scan = std::move(scan);
  return event;
}

}  // namespace orva::tracing

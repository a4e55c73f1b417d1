// The one thing that the faulty host does wrong. All else is done by the minimal host that it wraps.
#pragma once

#include <mutex>
#include <string>

namespace faulty_host {

/// The full name of the check that the host breaks, or one of the ways to break it; empty for a host that keeps all of
/// them.
inline std::string fault;

inline bool breaks(const char* check) { return fault == check; }

/// Takes two mutexes in one order, where another function takes them in the other.
inline void takeBoth(const char* check, std::mutex& first, std::mutex& second) {
  if (!breaks(check)) return;
  const std::lock_guard<std::mutex> lock(first);
  const std::lock_guard<std::mutex> behind(second);
}

}  // namespace faulty_host

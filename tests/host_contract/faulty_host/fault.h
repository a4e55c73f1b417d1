// The one fault of the faulty host. The minimal host that it wraps does everything else.
#pragma once

#include <mutex>
#include <string>

namespace faulty_host {

/// The full name of the check that the host breaks, or one of several ways to break it; empty to break none.
inline std::string fault;

inline bool breaks(const char* check) { return fault == check; }

/// Locks two mutexes in this order. Another function locks them in the opposite order.
inline void lockBoth(const char* check, std::mutex& first, std::mutex& second) {
  if (!breaks(check)) return;
  const std::lock_guard<std::mutex> outer(first);
  const std::lock_guard<std::mutex> inner(second);
}

}  // namespace faulty_host

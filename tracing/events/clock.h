// The clock that events are timed by: what records and what reads while a program runs must read the same one.
#pragma once

#include <cstdint>
#include <ctime>

namespace orva::tracing {

inline std::uint64_t nanosecondsOf(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000'000 + static_cast<std::uint64_t>(time.tv_nsec);
}

inline std::uint64_t monotonicTime() { return nanosecondsOf(CLOCK_MONOTONIC); }

}  // namespace orva::tracing

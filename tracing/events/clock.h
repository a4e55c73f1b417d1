// The clock for the times of events. The recorder, and a reader of a program that still runs, must use the same one.
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

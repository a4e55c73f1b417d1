// The functions that a program's class-loading library exports and calls, for the recorder that the program links.
// linked_calls.cmake writes the table for the library's objects.
#pragma once

#include <cstdint>

namespace orva::tracing {

struct LinkedCall {
  const char* symbol;  ///< as the host knows it; null after the last
  void* original;
  std::uint64_t slot;
};

}  // namespace orva::tracing

extern "C" __attribute__((weak, visibility("hidden"))) const orva::tracing::LinkedCall orva_trace_linked[];

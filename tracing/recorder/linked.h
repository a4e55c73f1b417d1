// What a program tells the recorder that it links: the functions that its class-loading library exports and calls. The
// table is written by linked_calls.cmake for the library's objects.
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

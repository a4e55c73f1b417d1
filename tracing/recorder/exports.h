// The audit module and the recorder share this table of the original of each traced function. The audit module fills it
// before the recorder is relocated, so it contains no addresses in the recorder.
#pragma once

#include <atomic>
#include <cstdint>

#include "tracing/calls/calls.h"
#include "tracing/events/event_file.h"
#include "tracing/recorder/slots.h"

namespace orva::tracing {

static_assert(ORVA_TRACE_CALLS == static_cast<int>(CallId::count), "slots.h counts the calls for the assembler");

/// How the standard library that a host and its class-loading library share lays out strings.
enum class StringLayout : std::uint32_t {
  gnu,
  gnuCountedReferences,  ///< libstdc++ with _GLIBCXX_USE_CXX11_ABI=0
  llvm,
};

struct Exports {
  std::atomic<void*> originals[ORVA_TRACE_SLOTS];
  std::atomic<StringLayout> strings;
  std::atomic<std::uint32_t> vectorOffset;  ///< of the elements in a vector: libstdc++'s debug mode has more ahead
  std::atomic<Attached> attached;
  std::atomic<std::uint32_t> unseen;
  std::atomic<FileHeader*> header;  ///< null until the recorder has made the file
};

}  // namespace orva::tracing

extern "C" {
// Protected, so that a program's own recorder does not replace the table of a preloaded one.
__attribute__((visibility("protected"))) extern orva::tracing::Exports orva_trace_exports;
/// The thunk of each slot, `ORVA_TRACE_THUNK_SIZE` bytes each.
__attribute__((visibility("protected"))) extern char orva_trace_thunks[];
}

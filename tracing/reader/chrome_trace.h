// Writes traces in the format of trace events that timeline viewers open.
#pragma once

#include <ostream>
#include <vector>

#include "tracing/reader/trace.h"

namespace orva::tracing {

/// Writes one JSON object. It contains a complete event for each call, scan and lock, in microseconds since the first
/// process began; the processes' programs and the threads' names as metadata; and the notes on what the traces do not
/// show, as `notes`. It is valid JSON whatever bytes the texts of a trace contain.
void writeChromeTrace(const std::vector<Trace>& traces, std::ostream& out);

}  // namespace orva::tracing

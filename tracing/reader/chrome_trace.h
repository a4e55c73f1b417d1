// Traces in the format of trace events that viewers of timelines open.
#pragma once

#include <ostream>
#include <vector>

#include "tracing/reader/trace.h"

namespace orva::tracing {

/// Writes one JSON object: a complete event for each call, scan and lock, in microseconds since the first process
/// began; the processes' programs and the threads' names as metadata; and what the traces do not show, as `notes`. It
/// is valid JSON whatever bytes a trace has in its texts.
void writeChromeTrace(const std::vector<Trace>& traces, std::ostream& out);

}  // namespace orva::tracing

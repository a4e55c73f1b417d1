// Writes one page for a browser that shows traces, and loads nothing from outside.
#pragma once

#include <ostream>
#include <vector>

#include "tracing/reader/trace.h"

namespace orva::tracing {

/// Writes a page with a timeline by thread, the tree of calls, a search, and the sentence of each native that has one.
/// Names may hold any bytes; those that are not UTF-8 are shown as `\xFF`.
void writeHtmlPage(const std::vector<Trace>& traces, std::ostream& output);

}  // namespace orva::tracing

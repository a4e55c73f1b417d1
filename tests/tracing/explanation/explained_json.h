// A native, what it called, and the sentence that explains it, for the program that checks explanations.
#pragma once

#include <string>

#include "tracing/reader/trace.h"

namespace orva::tracing {

/// An object of JSON in a line.
std::string explainedJson(const Event& native);

}  // namespace orva::tracing

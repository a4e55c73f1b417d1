// Where explanations are written down, to be checked by another program.
#pragma once

#include "tracing/reader/trace.h"

namespace model {

/// Explains a native, and writes its events and the sentence to a file.
void explain(const orva::tracing::Event& native);

}  // namespace model

// How compiled code finds classes and methods while it runs.
#pragma once

#include <vector>

#include "reference_host/runtime/operations.h"

namespace orva::compiler {

/// The operations that compiled code finds methods by.
std::vector<runtime::NamedOperation> linkOperations();

}  // namespace orva::compiler

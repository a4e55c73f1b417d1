// What compiled code is linked against.
#pragma once

#include <vector>

#include "reference_host/runtime/operations.h"

namespace orva::compiler {

/// All operations that compiled code calls: the runtime's, and those that find classes and methods while it runs.
std::vector<runtime::NamedOperation> compiledCodeOperations();

}  // namespace orva::compiler

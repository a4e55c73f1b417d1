// Operations on values whose type is known only while the program runs: results of methods of classes that were unknown
// when their callers were compiled. They do what compiled code does with values of those types, or throw a language
// exception with the text that the compiler has for the mistake.
#pragma once

#include <vector>

#include "reference_host/runtime/operations.h"

namespace orva::runtime {

std::vector<NamedOperation> dynamicOperations();

}  // namespace orva::runtime

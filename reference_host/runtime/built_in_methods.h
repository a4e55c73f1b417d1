// The methods of the types that the runtime itself brings.
#pragma once

#include <string_view>
#include <vector>

#include "reference_host/runtime/operations.h"
#include "reference_host/runtime/type.h"

namespace orva::runtime {

/// A method of a built-in type, and the operation that compiled code calls for it. `Type.call` is none of these: it
/// takes any arguments.
struct BuiltInMethod {
  std::string_view type;
  MethodSignature signature;
  const char* operation;
  bool takesCallSite;
  Invoker invoke;
};

/// Null when the type has no such method.
const BuiltInMethod* findBuiltInMethod(std::string_view type, std::string_view name);

/// Calls a method of a built-in type, whose value is the first of the arguments, after checking that the method exists
/// and takes the others. Throws a language exception when it does not.
DynamicValue callBuiltIn(const char* method, const DynamicArguments& arguments, const SourceLocation* callSite);

std::vector<NamedOperation> builtInOperations();

}  // namespace orva::runtime

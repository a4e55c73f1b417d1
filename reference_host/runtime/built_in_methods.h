// The methods of the built-in types.
#pragma once

#include <string_view>
#include <vector>

#include "reference_host/runtime/operations.h"
#include "reference_host/runtime/type.h"

namespace orva::runtime {

/// A method of a built-in type, and the operation that compiled code calls for it. The operation's function takes the
/// receiver, the arguments, and possibly the call site. `Type.call` is not among these methods, because it takes any
/// arguments.
struct BuiltInMethod {
  std::string_view type;
  MethodSignature signature;
  NamedOperation operation;
  bool takesCallSite;
  Invoker invoke;
};

/// Null when the type has no such method.
const BuiltInMethod* findBuiltInMethod(std::string_view type, std::string_view name);

/// Calls a method of a built-in type; the first argument is the receiver. Throws a language exception if the type has
/// no such method or the method does not take the other arguments.
DynamicValue callBuiltIn(const char* method, const DynamicArguments& arguments, const SourceLocation* callSite);

std::vector<NamedOperation> builtInOperations();

namespace op {

inline constexpr Operation<int64_t(const ArrayList* list)> listSize{"orvart_listSize"};
inline constexpr Operation<const char*(const ArrayList* list, int64_t index, const SourceLocation* callSite)> listGet{
    "orvart_listGet"};
inline constexpr Operation<void(ArrayList* list, const char* element, const SourceLocation* callSite)> listAdd{
    "orvart_listAdd"};
inline constexpr Operation<const char*(const Type* type)> typeName{"orvart_typeName"};
inline constexpr Operation<const char*(const Type* type)> typeSource{"orvart_typeSource"};
inline constexpr Operation<const char*(const Type* type, const char* method, int64_t count, const int64_t* values,
                                       const char* const* types, const SourceLocation* callSite)>
    typeCall{"orvart_typeCall"};
inline constexpr Operation<const char*(const Exception* exception)> exceptionClass{"orvart_exceptionClass"};
inline constexpr Operation<const char*(const Exception* exception)> exceptionMessage{"orvart_exceptionMessage"};

}  // namespace op

}  // namespace orva::runtime

// Lists the operations of compiled code, and loads a class when it is called for the first time.
#include "reference_host/compiler/linkage.h"

#include <atomic>
#include <exception>
#include <new>
#include <string>
#include <string_view>

#include "reference_host/compiler/context.h"
#include "reference_host/language/printable_text.h"
#include "reference_host/runtime/built_in_methods.h"
#include "reference_host/runtime/dynamic_operations.h"
#include "reference_host/runtime/type_registry.h"

namespace rt = orva::runtime;
using orva::compiler::activeContext;

/// Finds a loaded class, or loads it. Null when there is none. Errors in its source become a language exception.
static const rt::Type* findOrLoad(const std::string& fullName, const rt::SourceLocation* callSite) {
  try {
    return activeContext().findOrLoad(fullName);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& failure) {
    rt::throwException("Exception", failure.what(), callSite);
  }
}

static void requireClass(const rt::Type* found, const std::string& name, const rt::SourceLocation* callSite) {
  if (found == nullptr) rt::throwException("ClassNotFoundException", "Class not found: " + name, callSite);
}

/// Returns the result of a method, after checking that it has the type that the caller wants.
static int64_t fitted(const rt::DynamicValue& result, const std::string& method, const char* wanted,
                      const char** resultType, const rt::SourceLocation* callSite) {
  const std::string_view need = wanted;
  const std::string_view given = result.type;
  if (need != "void" && (need.empty() ? given == "void" : need != given)) {
    rt::throwException(
        "Exception",
        "Method '" + method + "' returns " + (given == "void" ? "nothing" : std::string(given) + ", not " + wanted),
        callSite);
  }
  *resultType = result.type;
  return result.word;
}

extern "C" {

static void* orvart_linkMethod(const char* className, const char* method, const char* parameters, const char* result,
                               int64_t isStatic, std::atomic<void*>* slot, const rt::SourceLocation* callSite) {
  const rt::Type* type = findOrLoad(className, callSite);
  requireClass(type, className, callSite);
  const rt::MethodSignature expected{method, isStatic != 0, rt::splitTypes(parameters), result};
  const rt::Method* found = type->find(method);
  if (found == nullptr || !(found->signature == expected)) {
    rt::throwException("Exception",
                       "Type '" + type->fullName + "' in " + orva::language::printable(type->source) +
                           " has no method '" + describe(expected) + "', which its caller was compiled against",
                       callSite);
  }
  slot->store(found->code, std::memory_order_release);
  return found->code;
}

static int64_t orvart_callByName(const char* name, int64_t candidateCount, const char* const* candidates,
                                 const char* method, int64_t count, const int64_t* values, const char* const* types,
                                 const char* wanted, const char** resultType, const rt::SourceLocation* callSite) {
  if (rt::isBuiltInType(name) || rt::isBuiltInName(name)) {
    rt::throwException("Exception", std::string("Built-in type '") + name + "' has no static methods", callSite);
  }
  const rt::Type* type = nullptr;
  for (int64_t i = 0; i < candidateCount && type == nullptr; ++i) type = findOrLoad(candidates[i], callSite);
  requireClass(type, name, callSite);
  const rt::DynamicValue result = rt::callDynamically(*type, method, true, {count, values, types}, callSite);
  return fitted(result, type->fullName + "." + method, wanted, resultType, callSite);
}

static int64_t orvart_callMember(const char* method, int64_t count, const int64_t* values, const char* const* types,
                                 const char* wanted, const char** resultType, const rt::SourceLocation* callSite) {
  const std::string className = types[0];
  const rt::DynamicArguments arguments{count, values, types};
  rt::DynamicValue result{};
  if (rt::isBuiltInType(className)) {
    result = rt::callBuiltIn(method, arguments, callSite);
  } else {
    const rt::Type* type = findOrLoad(className, callSite);
    requireClass(type, className, callSite);
    result = rt::callDynamically(*type, method, false, arguments, callSite);
  }
  return fitted(result, className + "." + method, wanted, resultType, callSite);
}

}  // extern "C"

namespace orva::compiler {

std::vector<runtime::NamedOperation> compiledCodeOperations() {
  std::vector<runtime::NamedOperation> all = {linked(runtime::op::linkMethod, runtime::guarded<orvart_linkMethod>),
                                              linked(runtime::op::callByName, runtime::guarded<orvart_callByName>),
                                              linked(runtime::op::callMember, runtime::guarded<orvart_callMember>)};
  for (const auto& list : {runtime::operations(), runtime::builtInOperations(), runtime::dynamicOperations()}) {
    all.insert(all.end(), list.begin(), list.end());
  }
  return all;
}

}  // namespace orva::compiler

// Loads a class when it is called for the first time.
#include "reference_host/compiler/linkage.h"

#include <atomic>
#include <exception>
#include <new>
#include <string>

#include "reference_host/compiler/context.h"
#include "reference_host/language/printable_text.h"
#include "reference_host/runtime/type_registry.h"

namespace rt = orva::runtime;
using orva::compiler::activeContext;

/// Finds a loaded class, or loads it. Null when it is nowhere. What is wrong with its source becomes a language
/// exception.
static const rt::Type* findOrLoad(const std::string& fullName, const rt::SourceLocation* callSite) {
  try {
    return activeContext().findOrLoad(fullName);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& failure) {
    rt::throwException("Exception", failure.what(), callSite);
  }
}

extern "C" {

/// Finds the method that a caller was compiled against, and remembers it in the caller's slot.
static void* orvart_linkMethod(const char* className, const char* method, const char* parameters, const char* result,
                               int64_t isStatic, std::atomic<void*>* slot, const rt::SourceLocation* callSite) {
  const rt::Type* type = findOrLoad(className, callSite);
  if (type == nullptr) {
    rt::throwException("ClassNotFoundException", std::string("Class not found: ") + className, callSite);
  }
  const rt::MethodSignature expected{method, isStatic != 0, rt::splitTypes(parameters), result};
  const rt::Method* found = type->find(method);
  if (found == nullptr || !(found->signature == expected)) {
    rt::throwException("Exception",
                       "Type '" + type->fullName + "' of " + orva::language::printable(type->source) +
                           " has no method '" + describe(expected) + "' that its caller was compiled for",
                       callSite);
  }
  slot->store(found->code, std::memory_order_release);
  return found->code;
}

/// Calls a static method of a class that was unknown when the caller was compiled.
/// @param name the class as it is written; `candidates` are the full names that it may stand for.
/// @param wanted the type that the caller expects: `String` takes any result as a text, `void` drops it.
static int64_t orvart_callByName(const char* name, int64_t candidateCount, const char* const* candidates,
                                 const char* method, int64_t count, const int64_t* values, const char* const* types,
                                 const char* wanted, const rt::SourceLocation* callSite) {
  const rt::Type* type = nullptr;
  for (int64_t i = 0; i < candidateCount && type == nullptr; ++i) type = findOrLoad(candidates[i], callSite);
  if (type == nullptr) {
    rt::throwException("ClassNotFoundException", std::string("Class not found: ") + name, callSite);
  }
  std::string result;
  const int64_t value = rt::callDynamically(*type, method, {count, values, types}, result, callSite);
  if (std::string(wanted) == "String") return reinterpret_cast<int64_t>(rt::textOf(value, result));
  if (std::string(wanted) != "void" && wanted != result) {
    rt::throwException(
        "Exception", "Method '" + type->fullName + "." + method + "' returns " + result + ", not " + wanted, callSite);
  }
  return value;
}

}  // extern "C"

namespace orva::compiler {

std::vector<runtime::NamedOperation> linkOperations() {
  return {runtime::guarded<orvart_linkMethod>("orvart_linkMethod"),
          runtime::guarded<orvart_callByName>("orvart_callByName")};
}

}  // namespace orva::compiler

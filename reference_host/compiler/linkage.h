// What compiled code is linked against.
#pragma once

#include <atomic>
#include <vector>

#include "reference_host/runtime/operations.h"

namespace orva::runtime::op {

/// Finds the method that a caller was compiled against, and remembers it in the caller's slot.
inline constexpr Operation<void*(const char* className, const char* method, const char* parameters, const char* result,
                                 int64_t isStatic, std::atomic<void*>* slot, const SourceLocation* callSite)>
    linkMethod{"orvart_linkMethod"};

/// Calls a static method that was unknown when the caller was compiled. `name` is the class as written; `candidates`
/// are the full names that it may stand for. The result must be of type `wanted`: any type except void if that is
/// empty; if it is `void`, the result is dropped. `resultType` receives the spelled type.
inline constexpr Operation<int64_t(const char* name, int64_t candidateCount, const char* const* candidates,
                                   const char* method, int64_t count, const int64_t* values, const char* const* types,
                                   const char* wanted, const char** resultType, const SourceLocation* callSite)>
    callByName{"orvart_callByName"};

/// Calls a method of an instance that was unknown when the caller was compiled; the receiver is the first argument, and
/// is not null.
inline constexpr Operation<int64_t(const char* method, int64_t count, const int64_t* values, const char* const* types,
                                   const char* wanted, const char** resultType, const SourceLocation* callSite)>
    callMember{"orvart_callMember"};

}  // namespace orva::runtime::op

namespace orva::compiler {

/// All operations that compiled code calls: the runtime's, and those that find classes and methods at run time.
std::vector<runtime::NamedOperation> compiledCodeOperations();

}  // namespace orva::compiler

// Operations on values whose type is known only at run time: results of methods of classes that were unknown when their
// callers were compiled. They do what compiled code does with values of those types, or throw a language exception with
// the message that the compiler would have given.
#pragma once

#include <vector>

#include "reference_host/runtime/operations.h"

namespace orva::runtime {

namespace op {

/// @param[out] resultType the spelled type of the sum.
inline constexpr Operation<int64_t(int64_t left, const char* leftType, int64_t right, const char* rightType,
                                   const char** resultType, const SourceLocation* callSite)>
    dynamicSum{"orvart_dynamicSum"};
inline constexpr Operation<int64_t(int64_t left, const char* leftType, int64_t right, const char* rightType,
                                   const SourceLocation* callSite)>
    dynamicEqual{"orvart_dynamicEqual"};
inline constexpr Operation<const char*(int64_t value, const char* type, const SourceLocation* callSite)> dynamicText{
    "orvart_dynamicText"};
inline constexpr Operation<void(const char* type, const char* wanted, const SourceLocation* callSite)> requireType{
    "orvart_requireType"};
inline constexpr Operation<void(int64_t value, const char* type, const char* method, const SourceLocation* callSite)>
    requireObject{"orvart_requireObject"};

}  // namespace op

std::vector<NamedOperation> dynamicOperations();

}  // namespace orva::runtime

// Each operation takes values as words, each with its spelled type.
#include "reference_host/runtime/dynamic_operations.h"

#include <optional>
#include <string>

namespace rt = orva::runtime;

static void require(const std::optional<std::string>& problem, const rt::SourceLocation* callSite) {
  if (problem) rt::throwException("Exception", *problem, callSite);
}

/// A value as `+` joins it.
static const char* joinable(int64_t word, const char* type) { return orvart_printableText(rt::textOf({word, type})); }

extern "C" {

static int64_t orvart_dynamicSum(int64_t left, const char* leftType, int64_t right, const char* rightType,
                                 const char** result, const rt::SourceLocation* callSite) {
  const std::string first = leftType;
  const std::string second = rightType;
  require(rt::sumProblem(first, second), callSite);
  if (first == "int" && second == "int") {
    *result = "int";
    return static_cast<int64_t>(static_cast<uint64_t>(left) + static_cast<uint64_t>(right));
  }
  *result = "String";
  return reinterpret_cast<int64_t>(rt::newText(joinable(left, leftType), joinable(right, rightType)));
}

static int64_t orvart_dynamicEqual(int64_t left, const char* leftType, int64_t right, const char* rightType,
                                   const rt::SourceLocation* callSite) {
  const std::string first = leftType;
  const std::string second = rightType;
  require(rt::comparisonProblem(first, second), callSite);
  if (first != "String" && second != "String") return left == right ? 1 : 0;
  return orvart_textsEqual(reinterpret_cast<const char*>(left), reinterpret_cast<const char*>(right));
}

static const char* orvart_dynamicText(int64_t value, const char* type, const rt::SourceLocation* callSite) {
  require(rt::textProblem(type), callSite);
  return rt::textOf({value, type});
}

static void orvart_requireType(const char* type, const char* wanted, const rt::SourceLocation* callSite) {
  require(rt::assignmentProblem(wanted, type), callSite);
}

static void orvart_requireObject(int64_t value, const char* type, const char* method,
                                 const rt::SourceLocation* callSite) {
  require(rt::receiverProblem(type, method), callSite);
  orvart_requireReceiver(reinterpret_cast<const void*>(value), method, callSite);
}

}  // extern "C"

namespace orva::runtime {

std::vector<NamedOperation> dynamicOperations() {
  return {
      linked(op::dynamicSum, guarded<orvart_dynamicSum>),       linked(op::dynamicEqual, guarded<orvart_dynamicEqual>),
      linked(op::dynamicText, guarded<orvart_dynamicText>),     linked(op::requireType, guarded<orvart_requireType>),
      linked(op::requireObject, guarded<orvart_requireObject>),
  };
}

}  // namespace orva::runtime

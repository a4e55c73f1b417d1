// Calling methods, and checking their signatures.
#include "reference_host/runtime/type.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <iterator>

#include "reference_host/runtime/call_stack.h"

namespace orva::runtime {

bool MethodSignature::operator==(const MethodSignature& other) const {
  return name == other.name && isStatic == other.isStatic && parameters == other.parameters && result == other.result;
}

std::string describe(const MethodSignature& signature) {
  std::string text = (signature.isStatic ? "static " : "") + signature.result + " " + signature.name + "(";
  for (std::size_t i = 0; i < signature.parameters.size(); ++i) text += (i == 0 ? "" : ", ") + signature.parameters[i];
  return text + ")";
}

int64_t Method::call(const int64_t* arguments, const SourceLocation* callSite) const {
  const CallBoundary boundary;
  return invoke(arguments, callSite);
}

const Method* Type::find(std::string_view method) const {
  const auto isBefore = [](const Method& each, std::string_view wanted) { return each.signature.name < wanted; };
  const auto found = std::lower_bound(methods.begin(), methods.end(), method, isBefore);
  return found == methods.end() || found->signature.name != method ? nullptr : &*found;
}

std::string withoutBlanks(std::string_view text) {
  std::string compact;
  std::copy_if(text.begin(), text.end(), std::back_inserter(compact),
               [](char byte) { return std::isspace(static_cast<unsigned char>(byte)) == 0; });
  return compact;
}

std::vector<std::string> splitTypes(std::string_view list) {
  std::vector<std::string> types;
  int depth = 0;
  for (const char byte : list) {
    if (types.empty()) types.emplace_back();
    depth += byte == '<' ? 1 : byte == '>' ? -1 : 0;
    if (byte == ',' && depth == 0) {
      types.emplace_back();
    } else {
      types.back() += byte;
    }
  }
  return types;
}

static constexpr std::array<std::string_view, 7> builtInTypes = {"void", "int",       "boolean",          "String",
                                                                 "Type", "Exception", "ArrayList<String>"};

bool isBuiltInType(std::string_view type) {
  return std::find(builtInTypes.begin(), builtInTypes.end(), type) != builtInTypes.end();
}

bool isBuiltInName(std::string_view name) {
  const auto hasName = [&](std::string_view type) { return type.substr(0, type.find('<')) == name; };
  return std::any_of(builtInTypes.begin(), builtInTypes.end(), hasName);
}

bool isPointerType(std::string_view type) { return type != "int" && type != "boolean" && type != "void"; }

bool isAssignable(std::string_view wanted, std::string_view given) {
  return wanted == given ? wanted != "void" : given == "null" && isPointerType(wanted);
}

std::optional<std::string> textProblem(const std::string& type) {
  if (type == "String" || type == "int" || type == "boolean" || type == "null") return std::nullopt;
  return "expected a String, an int or a boolean, found " + type;
}

std::optional<std::string> sumProblem(const std::string& left, const std::string& right) {
  if (left == "int" && right == "int") return std::nullopt;
  if (left != "String" && right != "String") {
    return "'+' needs two ints or a String: found " + left + " + " + right;
  }
  return textProblem(left == "String" ? right : left);
}

std::optional<std::string> comparisonProblem(const std::string& left, const std::string& right) {
  if (isAssignable(left, right) || isAssignable(right, left)) return std::nullopt;
  return "cannot compare " + left + " with " + right;
}

std::optional<std::string> assignmentProblem(const std::string& wanted, const std::string& given) {
  if (isAssignable(wanted, given)) return std::nullopt;
  return "expected " + wanted + ", found " + given;
}

std::optional<std::string> receiverProblem(const std::string& type, const std::string& methodName) {
  if (isPointerType(type)) return std::nullopt;
  return "'." + methodName + "' needs an object: found " + type;
}

std::optional<std::string> callProblem(const std::string& typeName, const std::string& methodName,
                                       const MethodSignature* method, bool isStaticCall,
                                       const std::vector<std::string>& argumentTypes) {
  if (method == nullptr) return "Type '" + typeName + "' has no method '" + methodName + "'";
  const std::string quoted = "'" + typeName + "." + methodName + "'";
  if (method->isStatic != isStaticCall) return "Method " + quoted + (isStaticCall ? " is not static" : " is static");
  const std::size_t count = method->parameters.size();
  if (argumentTypes.size() != count) {
    return "Method " + quoted + " takes " + std::to_string(count) + (count == 1 ? " argument" : " arguments") +
           ", not " + std::to_string(argumentTypes.size());
  }
  for (std::size_t i = 0; i < count; ++i) {
    if (!isAssignable(method->parameters[i], argumentTypes[i])) {
      return "Argument " + std::to_string(i + 1) + " of " + quoted + " must be " + method->parameters[i] + ", not " +
             argumentTypes[i];
    }
  }
  return std::nullopt;
}

}  // namespace orva::runtime

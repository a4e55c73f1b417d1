// A loaded type and its methods.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "reference_host/runtime/values.h"

namespace orva::runtime {

/// What a caller must know about a method. Types are spelled as in sources, without blanks.
struct MethodSignature {
  std::string name;
  bool isStatic = false;
  std::vector<std::string> parameters;
  std::string result;

  bool operator==(const MethodSignature& other) const;
};

/// A signature as a declaration spells it: `static String name(int, String)`.
std::string describe(const MethodSignature& signature);

/// Calls a method with receiver, if it has one, arguments and result as 64-bit words.
using Invoker = int64_t (*)(const int64_t* arguments, const SourceLocation* callSite);

struct Method {
  MethodSignature signature;
  void* code = nullptr;  ///< takes the receiver if there is one, the arguments, then the call site
  Invoker invoke = nullptr;

  /// Calls the method from C++, which may catch what the method throws.
  int64_t call(const int64_t* arguments, const SourceLocation* callSite) const;
};

/// What a type is loaded from.
enum class Origin {
  classPath,  ///< a source file on the class path: its package and its class must match its place there
  named,      ///< a source file that is named directly and may be anywhere
  instance,   ///< the source of a generic class, for one of its instances
  object,     ///< an object file
};

struct Type {
  std::string name;
  std::string fullName;
  Origin origin;
  std::string source;           ///< the file that it was loaded from, as it was named
  std::vector<Method> methods;  ///< sorted by name

  const Method* find(std::string_view method) const;
};

/// The spelling of a type without blanks.
std::string withoutBlanks(std::string_view text);

/// Splits a list of spelled types at its outer commas.
std::vector<std::string> splitTypes(std::string_view list);

/// Tells whether a spelled type is built in.
bool isBuiltInType(std::string_view type);

/// Tells whether a name is that of a built-in type, which no class may have.
bool isBuiltInName(std::string_view name);

/// Tells whether the values of a type are pointers: those of all types except int, boolean and void.
bool isPointerType(std::string_view type);

/// Tells whether a value of one type may be used where another is wanted: they are equal, or it is null for a type
/// whose values are pointers.
bool isAssignable(std::string_view wanted, std::string_view given);

/// Says what is wrong with `left + right`, `left == right` or the text of a value, if anything.
std::optional<std::string> sumProblem(const std::string& left, const std::string& right);
std::optional<std::string> comparisonProblem(const std::string& left, const std::string& right);
std::optional<std::string> textProblem(const std::string& type);

/// Says what is wrong with using a value of one type where another is wanted, if anything.
std::optional<std::string> assignmentProblem(const std::string& wanted, const std::string& given);

/// Says what is wrong with the type of a value whose method is called, if anything.
std::optional<std::string> receiverProblem(const std::string& type, const std::string& methodName);

/// Says what is wrong with a call, if anything.
/// @param method null when the type has no method of that name.
/// @param argumentTypes spelled types of the arguments, `null` for the literal.
std::optional<std::string> callProblem(const std::string& typeName, const std::string& methodName,
                                       const MethodSignature* method, bool isStaticCall,
                                       const std::vector<std::string>& argumentTypes);

}  // namespace orva::runtime

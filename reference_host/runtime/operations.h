// The operations that compiled code calls. They have C names, so that object files can be linked against them.
// Those that take a call site throw a language exception (`Thrown`) that carries it, also when memory runs out.
#pragma once

#include <cstdint>
#include <new>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "reference_host/runtime/type.h"
#include "reference_host/runtime/values.h"

namespace orva::runtime {

/// An operation under the name that compiled code knows it by.
struct NamedOperation {
  const char* name;
  const void* address;
};

template <typename Function>
const void* addressOf(Function* function) {
  return reinterpret_cast<const void*>(function);
}

/// All operations of the runtime, and the type by which compiled code catches a language exception.
std::vector<NamedOperation> operations();

[[noreturn]] void throwException(std::string_view className, std::string_view message, const SourceLocation* callSite);

/// An operation whose last argument is a call site, and which throws a language exception there when memory runs out.
template <auto operation>
struct Guarded;
template <typename Result, typename... Arguments, Result (*operation)(Arguments...)>
struct Guarded<operation> {
  static Result call(Arguments... arguments) {
    try {
      return operation(arguments...);
    } catch (const std::bad_alloc& failure) {
      throw Thrown{newMemoryException(failure, std::get<sizeof...(Arguments) - 1>(std::tie(arguments...)))};
    }
  }
};

/// As compiled code calls it.
template <auto operation>
NamedOperation guarded(const char* name) {
  return {name, addressOf(Guarded<operation>::call)};
}

/// A value whose type is known only while the program runs. The spelled type stays valid.
struct DynamicValue {
  int64_t word;
  const char* type;
};

/// The arguments of a call whose method is found while the program runs. The receiver, if there is one, is the first.
struct DynamicArguments {
  int64_t count;
  const int64_t* values;
  const char* const* types;
};

/// Calls a method of a class after checking that it exists and takes the arguments. Throws a language exception when it
/// does not.
/// @param isStatic whether the caller has no receiver.
DynamicValue callDynamically(const Type& type, const char* method, bool isStatic, const DynamicArguments& arguments,
                             const SourceLocation* callSite);

/// A value as a text: what `+` and `print` make of it. Null for the result of a void method.
const char* textOf(const DynamicValue& value);

}  // namespace orva::runtime

extern "C" {

/// The text that `+` makes of a String: null becomes "null".
const char* orvart_printableText(const char* text);

int64_t orvart_textsEqual(const char* left, const char* right);

void orvart_requireReceiver(const void* receiver, const char* method, const orva::runtime::SourceLocation* callSite);

}  // extern "C"

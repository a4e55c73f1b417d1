// The operations that compiled code calls. They have C names, so that object files can be linked against them.
// Those that take a call site throw language exceptions (`Thrown`) that carry it, even when memory runs out.
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

struct CallFrame;
struct TypeDescriptor;

/// An operation as compiled code sees it. `Function` is the type by which the code generator declares and calls it, and
/// only a function of that type can be linked to it.
template <typename Function>
struct Operation {
  const char* name;
};

/// What compiled code finds under a name.
struct NamedOperation {
  const char* name;
  const void* address;
};

template <typename Function>
NamedOperation linked(const Operation<Function>& operation, Function* function) {
  return {operation.name, reinterpret_cast<const void*>(function)};
}

/// All operations of the runtime, and the type by which compiled code catches a language exception.
std::vector<NamedOperation> operations();

[[noreturn]] void throwException(std::string_view className, std::string_view message, const SourceLocation* callSite);

/// Wraps an operation whose last argument is a call site: if memory runs out, throws a language exception there.
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

/// The function that compiled code calls.
template <auto operation>
constexpr auto guarded = Guarded<operation>::call;

/// A value whose type is known only at run time. The spelled type stays valid.
struct DynamicValue {
  int64_t word;
  const char* type;
};

/// The arguments of a call whose method is found at run time. The receiver, if there is one, is the first.
struct DynamicArguments {
  int64_t count;
  const int64_t* values;
  const char* const* types;
};

/// Calls a method of a class after checking that it exists and takes the arguments. Throws a language exception when it
/// does not.
/// @param isStatic whether the call has no receiver.
DynamicValue callDynamically(const Type& type, const char* method, bool isStatic, const DynamicArguments& arguments,
                             const SourceLocation* callSite);

/// Converts a value to a text, as `+` and `print` do. Null for the result of a void method.
const char* textOf(const DynamicValue& value);

/// The type by which compiled code catches a language exception, and the personality function of frames with handlers.
inline constexpr const char* thrownType = "orvart_thrownType";
inline constexpr const char* personality = "__gxx_personality_v0";

namespace op {

inline constexpr Operation<void(const TypeDescriptor* descriptor)> registerType{"orvart_registerType"};
inline constexpr Operation<const char*(const char* left, const char* right, const SourceLocation* callSite)> joinTexts{
    "orvart_joinTexts"};
inline constexpr Operation<const char*(int64_t value, const SourceLocation* callSite)> intText{"orvart_intText"};
inline constexpr Operation<const char*(int64_t value)> booleanText{"orvart_booleanText"};
inline constexpr Operation<int64_t(const char* left, const char* right)> textsEqual{"orvart_textsEqual"};
inline constexpr Operation<ArrayList*(const SourceLocation* callSite)> newList{"orvart_newList"};
inline constexpr Operation<int64_t(const Exception* exception, const char* className)> exceptionIs{
    "orvart_exceptionIs"};
inline constexpr Operation<void(const char* className, const char* message, const SourceLocation* callSite)> raise{
    "orvart_raise"};
inline constexpr Operation<void(Exception* exception)> rethrow{"orvart_rethrow"};
/// Ends the C++ exception that reached a handler and returns the language exception in it; the frame is that of the
/// method with the handler.
inline constexpr Operation<Exception*(void* caught, const CallFrame* frame)> beginCatch{"orvart_beginCatch"};
inline constexpr Operation<void()> enterNative{"orvart_enterNative"};
inline constexpr Operation<void(const SourceLocation* callSite)> leaveNative{"orvart_leaveNative"};
inline constexpr Operation<void(const void* receiver, const char* method, const SourceLocation* callSite)>
    requireReceiver{"orvart_requireReceiver"};
/// Called before a method whose frame is so large that even entering it might overflow the stack.
inline constexpr Operation<void(int64_t size, const char* method, const SourceLocation* callSite)> requireStack{
    "orvart_requireStack"};
inline constexpr Operation<void(CallFrame* frame, const char* method, const SourceLocation* callSite)> enter{
    "orvart_enter"};
inline constexpr Operation<void(const CallFrame* frame)> leave{"orvart_leave"};

}  // namespace op

}  // namespace orva::runtime

extern "C" {

/// Converts a String as `+` does: null becomes "null".
const char* orvart_printableText(const char* text);

int64_t orvart_textsEqual(const char* left, const char* right);

void orvart_requireReceiver(const void* receiver, const char* method, const orva::runtime::SourceLocation* callSite);

}  // extern "C"

// Every call that a trace shows: the natives, then the host's functions that they call. Parameters and results come
// from the declarations, so that a changed header changes the trace too.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "classloader/natives.h"
#include "runtime_api/compiler.h"
#include "runtime_api/reflection.h"
#include "runtime_api/runtime.h"

namespace orva::tracing {

/// The calls, in the order of their lists.
enum class CallId : std::uint16_t {
#define ORVA_NATIVE(symbol, ...) symbol,
#include "classloader/native_list.inc"
#undef ORVA_NATIVE
#define ORVA_FUNCTION(name) name,
#define ORVA_OPERATION(owner, name) owner##_##name,
#include "tracing/calls/calls.inc"
#undef ORVA_FUNCTION
#undef ORVA_OPERATION
  count,
};

/// How a trace shows a parameter or a result.
enum class ValueType : std::uint8_t {
  nothing,
  integer32,
  integer64,
  truth,
  object,    ///< a pointer that only the host understands
  text,      ///< a C string, or null
  string,    ///< a `std::string`, by reference; as a result, returned in memory
  filled,    ///< a `std::string` that the call fills
  view,      ///< a `std::string_view`, in two registers
  texts,     ///< a `std::vector<std::string>`, by reference
  context,   ///< a `std::shared_ptr`, by reference; as a result, returned in memory
  listener,  ///< a `std::function`, by reference
};

constexpr std::size_t mostParameters = 4;

/// A call, as it is declared.
struct CallDescription {
  std::string_view name;    ///< as a program's author knows it: `Compiler::objectAbiVersion`
  std::string_view symbol;  ///< of a C function
  /// Of an operation of a class: its class in `orva::compiler` and its name. The symbol is mangled, and begins with
  /// them.
  std::string_view owner;
  std::string_view operation;
  bool isNative = false;
  bool isMember = false;  ///< takes its object before the parameters
  bool isConst = false;
  ValueType result = ValueType::nothing;
  std::size_t parameterCount = 0;
  std::array<ValueType, mostParameters> parameters{};

  /// Tells whether the caller passes the address of the result as the first argument.
  constexpr bool isResultInMemory() const { return result == ValueType::string || result == ValueType::context; }

  /// The index of the name that a native is asked for: its last text, or `parameterCount` where it takes none.
  constexpr std::size_t nameParameter() const {
    for (std::size_t i = parameterCount; i > 0; --i) {
      if (parameters.data()[i - 1] == ValueType::text) return i - 1;
    }
    return parameterCount;
  }
};

/// @cond
namespace declarations {

template <typename Type>
struct TypeOf;
template <ValueType value>
struct Is {
  static constexpr ValueType type = value;
};
template <>
struct TypeOf<void> : Is<ValueType::nothing> {};
template <>
struct TypeOf<std::int32_t> : Is<ValueType::integer32> {};
template <>
struct TypeOf<std::int64_t> : Is<ValueType::integer64> {};
template <>
struct TypeOf<bool> : Is<ValueType::truth> {};
template <>
struct TypeOf<void*> : Is<ValueType::object> {};
template <>
struct TypeOf<compiler::Runtime&> : Is<ValueType::object> {};
template <>
struct TypeOf<const char*> : Is<ValueType::text> {};
template <>
struct TypeOf<std::string> : Is<ValueType::string> {};
template <>
struct TypeOf<const std::string&> : Is<ValueType::string> {};
template <>
struct TypeOf<std::string&> : Is<ValueType::filled> {};
template <>
struct TypeOf<std::string_view> : Is<ValueType::view> {};
template <>
struct TypeOf<const std::vector<std::string>&> : Is<ValueType::texts> {};
template <typename Pointed>
struct TypeOf<std::shared_ptr<Pointed>> : Is<ValueType::context> {};
template <typename Pointed>
struct TypeOf<std::shared_ptr<Pointed>&> : Is<ValueType::context> {};
template <typename Pointed>
struct TypeOf<const std::shared_ptr<Pointed>&> : Is<ValueType::context> {};
template <typename Signature>
struct TypeOf<const std::function<Signature>&> : Is<ValueType::listener> {};

template <typename Result, typename... Parameters>
constexpr CallDescription described(CallDescription call) {
  static_assert(sizeof...(Parameters) <= mostParameters, "A traced call has at most four parameters");
  call.result = TypeOf<Result>::type;
  call.parameterCount = sizeof...(Parameters);
  call.parameters = {TypeOf<Parameters>::type...};
  return call;
}
template <typename Result, typename... Parameters>
constexpr CallDescription of(Result (*)(Parameters...), CallDescription call) {
  return described<Result, Parameters...>(call);
}
template <typename Owner, typename Result, typename... Parameters>
constexpr CallDescription of(Result (Owner::*)(Parameters...), CallDescription call) {
  call.isMember = true;
  return described<Result, Parameters...>(call);
}
template <typename Owner, typename Result, typename... Parameters>
constexpr CallDescription of(Result (Owner::*)(Parameters...) const, CallDescription call) {
  call.isMember = call.isConst = true;
  return described<Result, Parameters...>(call);
}

}  // namespace declarations
/// @endcond

/// By `CallId`.
inline constexpr std::array<CallDescription, static_cast<std::size_t>(CallId::count)> calls = {
#define ORVA_NATIVE(symbol, owner, method, ...) \
  declarations::of(static_cast<decltype(&symbol)>(nullptr), {#owner "." #method, #symbol, {}, {}, true}),
#include "classloader/native_list.inc"
#undef ORVA_NATIVE
#define ORVA_FUNCTION(name) declarations::of(static_cast<decltype(&(name))>(nullptr), {#name, #name, {}, {}}),
#define ORVA_OPERATION(owner, name) \
  declarations::of(static_cast<decltype(&compiler::owner::name)>(nullptr), {#owner "::" #name, {}, #owner, #name}),
#include "tracing/calls/calls.inc"
#undef ORVA_FUNCTION
#undef ORVA_OPERATION
};

constexpr const CallDescription& descriptionOf(CallId call) { return calls[static_cast<std::size_t>(call)]; }

}  // namespace orva::tracing

/// The natives as a table, for hosts without `dlsym`, and for those that want them typed. Its entries refer to the
/// natives, so every linker puts them into the program.
/// @file
#pragma once

#include <string_view>
#include <tuple>

#include "classloader/natives.h"

/// Names of the language.
namespace orva {

/// One native.
/// @tparam Function its type, such as `void*(const char*)`.
template <typename Function>
struct Native {
  std::string_view symbol;      ///< such as "orva_ClassLoader_getSystem"
  std::string_view className;   ///< of the language class that declares its method
  std::string_view methodName;  ///< of the language method
  bool isStatic;                ///< whether the method is; otherwise the receiver is the first parameter
  Function* function;           ///< the native itself
};

/// All natives, in the order of `natives.h`; `std::apply` goes through them with their types.
inline constexpr std::tuple natives{
#define ORVA_NATIVE(symbol, className, methodName, kind, ...) \
  Native<decltype(symbol)>{#symbol, #className, #methodName, std::string_view(#kind) == "static", &symbol},
#include "classloader/native_list.inc"
#undef ORVA_NATIVE
};

/// Finds a native as `dlsym` would.
/// @param symbol its name.
/// @return its address, which the caller casts to the type of the native; null for any other symbol.
inline void* findNative(std::string_view symbol) {
  void* found = nullptr;
  const auto look = [&](const auto& native) {
    if (native.symbol == symbol) found = reinterpret_cast<void*>(native.function);
  };
  std::apply([&](const auto&... native) { (look(native), ...); }, natives);
  return found;
}

}  // namespace orva

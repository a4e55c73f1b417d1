// Native methods: the functions of the process that they are bound to, and how the natives of the library and of this
// host are declared.
#pragma once

#include <map>
#include <optional>
#include <string>

namespace orva::compiler {

/// The symbol of the function that a native method is bound to; only the short name of its class counts.
std::string nativeSymbol(const std::string& className, const std::string& method);

/// Says what is wrong with a native method, if anything, as the end of a sentence about it: the process does not define
/// its symbol, defines data of that name, or defines a native of the library or of the host that is declared
/// differently. Declarations of other functions are not checked.
/// @param signature the method's own, as `describe` spells it.
std::optional<std::string> nativeProblem(const std::string& symbol, const std::string& signature);

/// Functions by their symbols.
using NativeAddresses = std::map<std::string, void*>;

/// The address of a symbol of the process; null when the process does not define it.
void* findNative(const std::string& symbol);

}  // namespace orva::compiler

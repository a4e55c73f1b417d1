// Demangles names, and removes the parts that only the implementation writes into them.
#include "tracing/reader/type_name.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <string_view>

namespace orva::tracing {

/// Both standard libraries keep their types in an inline namespace that programs never name.
static std::string withoutInlineNamespaces(std::string name) {
  for (const std::string_view part : {"__cxx11::", "__1::"}) {
    const std::string inner = "std::" + std::string(part);
    for (std::size_t at = name.find(inner); at != std::string::npos; at = name.find(inner, at)) {
      name.erase(at + 5, part.size());
    }
  }
  return name;
}

std::string demangled(const std::string& name) {
  // The name of a type that is local to one object begins with an asterisk in its type information.
  const char* mangled = name.c_str() + (name.rfind('*', 0) == 0 ? 1 : 0);
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> text(abi::__cxa_demangle(mangled, nullptr, nullptr, &status),
                                                         &std::free);
  return text ? withoutInlineNamespaces(text.get()) : name;
}

}  // namespace orva::tracing

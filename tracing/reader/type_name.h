// The names of C++ types as people write them.
#pragma once

#include <string>

namespace orva::tracing {

/// Demangles a name that `std::type_info::name` returned; returns the name unchanged if it is not mangled.
std::string demangled(const std::string& name);

}  // namespace orva::tracing

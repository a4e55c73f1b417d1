// The names of C++ types as people write them.
#pragma once

#include <string>

namespace orva::tracing {

/// The name that `std::type_info::name` gives, demangled; the name itself where it is not a mangled one.
std::string demangled(const std::string& name);

}  // namespace orva::tracing

// The one thing that the faulty host does wrong.
#pragma once

#include <string>

namespace faulty_host {

/// The full name of the check that the host breaks, or one of the ways to break it; empty for a host that keeps all of
/// them.
inline std::string fault;

inline bool breaks(const char* check) { return fault == check; }

}  // namespace faulty_host

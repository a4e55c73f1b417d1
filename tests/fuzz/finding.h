// How a fuzz target tells that an input showed a mistake.
#pragma once

#include <string>

/// Prints what is wrong and aborts, so that whoever feeds the inputs keeps this one.
[[noreturn]] void finding(const std::string& what);

/// Does so unless `holds`.
inline void require(bool holds, const std::string& what) {
  if (!holds) finding(what);
}

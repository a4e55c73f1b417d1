// How a fuzz target reports that an input revealed a mistake.
#pragma once

#include <string>

/// Prints what is wrong and aborts, so that libFuzzer saves the input.
[[noreturn]] void finding(const std::string& what);

/// Calls `finding` unless `holds`.
inline void require(bool holds, const std::string& what) {
  if (!holds) finding(what);
}

// The names of a real program: those of the classes in LLVM's shared library, written with dots.
#pragma once

#include <string>
#include <vector>

#include "benchmarks/floors/measured_host.h"

/// Lists the names, shuffled in the same way in each run. Throws `std::runtime_error`, which names what is missing,
/// when they cannot be listed.
const std::vector<measured::TypeNames>& realTypes();

/// Tells whether a type is a generic instance, or is declared in one.
bool isGeneric(const measured::TypeNames& type);

/// Picks 32 names, or all when there are fewer, evenly spread over `names`.
std::vector<std::string> sampleOf(const std::vector<std::string>& names);

// Lookups of types by their names, as sides of a pair.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "schedules.h"

/// A thread that looks up a type.
Side lookup(const std::string& name, std::vector<Path> paths);

/// The calls of a lookup that finds `registered` types, but not its own, up to the search for the source.
std::vector<std::string> searching(const std::string& name, int32_t registered);

/// The same, followed by loading the source of the class.
std::vector<std::string> loading(const std::string& name, const std::string& file, int32_t registered);

/// The calls of a lookup that finds its type among `registered` ones.
std::vector<std::string> finding(const std::string& name, int32_t registered);

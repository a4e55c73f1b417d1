// Lookups of types by their names, as sides of a pair.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "schedules.h"

/// A thread that looks a type up.
Side lookup(const std::string& name, std::vector<Path> paths);

/// The calls of a lookup that finds `registered` types, none of them its own, up to the search for its source.
std::vector<std::string> searching(const std::string& name, int32_t registered);

/// The same, and then the source of its class.
std::vector<std::string> loading(const std::string& name, const std::string& file, int32_t registered);

/// The calls of a lookup of a plain name that is registered.
std::vector<std::string> finding(const std::string& name, int32_t registered);

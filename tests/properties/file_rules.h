// The files of a world: what a path leads to, and what a folder contains.
#pragma once

#include <string>
#include <vector>

#include "world.h"

namespace model {

/// Tells whether two files can exist together: their paths differ, and if one is below the other, that one is a folder.
bool fitTogether(const File& one, const File& other);

/// Joins two paths with one separator. If the second one begins with a separator, it replaces the first.
std::string joinedPaths(const std::string& first, const std::string& second);

/// Tells whether a path leads to a folder, following links.
bool isFolder(const World& world, const std::string& path);

/// Tells whether a path leads to a regular file, following links.
bool isRegularFile(const World& world, const std::string& path);

/// Tells whether the folder at a path may be listed.
bool isListable(const World& world, const std::string& path);

/// The names of the files directly in the folder at a path, sorted by their bytes.
std::vector<std::string> namesIn(const World& world, const std::string& path);

}  // namespace model

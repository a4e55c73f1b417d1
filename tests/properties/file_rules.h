// The files of a world: what a path leads to, and what a folder holds.
#pragma once

#include <string>
#include <vector>

#include "world.h"

namespace model {

/// Tells whether two files may lie side by side: they have two paths, and where one lies below the other, that is a
/// folder.
bool fitTogether(const File& one, const File& other);

/// Joins two paths: a second one that begins with a separator stands alone, otherwise one separator is between them.
std::string joinedPaths(const std::string& first, const std::string& second);

/// Tells whether a path leads to a folder, links followed.
bool isFolder(const World& world, const std::string& path);

/// Tells whether a path leads to a regular file, links followed.
bool isRegularFile(const World& world, const std::string& path);

/// Tells whether the folder at a path may be listed.
bool isListable(const World& world, const std::string& path);

/// The names of what lies directly in the folder at a path, ordered by their bytes.
std::vector<std::string> namesIn(const World& world, const std::string& path);

}  // namespace model

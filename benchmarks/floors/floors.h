// The floor of each measured call: the unavoidable minimum of the same job, written as plainly as possible.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace floors {

/// Makes both registry calls for each entry and takes the lengths of both names.
/// @return the sum of the lengths.
std::size_t scanRegistry();

/// Compares the key with the four names of each ready record, unchanged, under the table's mutex.
/// @return whether one is equal.
bool walkTable(const std::string& key);

/// Reads the last byte of each name of each ready record, under the table's mutex.
/// @return how many of them end an instance of a generic.
std::size_t touchNames();

/// Lists the regular files of a folder whose names end in ".ov", by the file types that come with the listing, and
/// sorts their paths.
std::vector<std::string> listSources(const std::string& folder);

/// Copies the elements of a language list.
std::vector<std::string> copyList(void* list);

}  // namespace floors

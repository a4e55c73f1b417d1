// What the host knows of types: its registry and its type table.
#pragma once

#include <cstddef>
#include <string>

#include "host_contract/check.h"

namespace orva::host_contract {

/// Has the types of the two class loaders registered, where the host has a standard library. What becomes of the object
/// itself is another check's concern.
void loadStandardTypes(Trial& trial);

/// The name that the library looks an entry of the registry up by: the full one, or the short one where there is none.
std::string nameOfEntry(int index);

/// Tells whether the registry has an entry of a full name.
bool isRegistered(const std::string& fullName);

/// Counts the records of the type table; the caller holds the mutex.
std::size_t countRecords();

/// Tells whether a ready record has a name, whatever its blanks. Takes the mutex.
bool hasReadyRecord(const std::string& name);

}  // namespace orva::host_contract

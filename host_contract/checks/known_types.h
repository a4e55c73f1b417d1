// What the host knows of types: its registry and its type table.
#pragma once

#include <cstddef>
#include <string>

#include "host_contract/check.h"

namespace orva::host_contract {

/// Makes the host register the types of the two class loaders, if it has a standard library. Another check looks at the
/// system class loader itself.
void loadStandardTypes(Trial& trial);

/// The name that an entry of the registry goes by in the library: the full one, or the short one if there is none.
std::string nameOfEntry(int index);

/// Tells whether the registry has an entry with a full name.
bool isRegistered(const std::string& fullName);

/// Counts the records of the type table; the caller holds the mutex.
std::size_t countRecords();

/// Tells whether a ready record has a name, apart from blanks. Locks the mutex.
bool hasReadyRecord(const std::string& name);

}  // namespace orva::host_contract

/// The runtime's registry of loaded types: three query functions, and the type table with its mutex.
/// The host defines all of them. A host with another type record replaces this header; the library reads
/// a record through `recordName` and `isReady` alone.
/// @file
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

// A host compiled with -fvisibility=hidden still serves the shared library.
#pragma GCC visibility push(default)

extern "C" {

/// Counts the registered types. Entries are numbered from 0 and are never taken away.
/// @return the count; a negative one is read as 0.
int32_t Reflection_getTypeCount(void);

/// Names a registered type without its package.
/// @param index of the entry, below the count.
/// @return NUL-terminated name, which the runtime owns, or null. It stays valid as long as the full name of the same
///         entry, which is fetched next, whatever other threads look up or load meanwhile.
const char* Reflection_getTypeName(int32_t index);

/// Names a registered type with its package.
/// @param index of the entry, below the count.
/// @return NUL-terminated name, which the runtime owns, or null. It stays valid until this thread calls the host again,
///         whatever other threads look up or load meanwhile.
const char* Reflection_getTypeFullName(int32_t index);

}  // extern "C"

/// One row of the type table. What the four names spell is the host's choice.
struct TypeRecord {
  std::string name1;           ///< compared third
  std::string name2;           ///< compared last
  std::string name3;           ///< compared first
  std::string name4;           ///< compared second
  void* type;                  ///< null until the type can be used
  std::vector<void*> members;  ///< empty until the type can be used
};

/// Guards `gTypes`. The library holds it while it walks the table, and calls nothing of the host meanwhile.
extern std::mutex gReflectionMutex;

/// Every type that the runtime knows, generic instances included.
extern std::vector<TypeRecord> gTypes;

/// Reads one of a record's four names.
/// @param record of the type table.
/// @param number from 1 to 4.
/// @return the name, as a part of the record.
inline const std::string& recordName(const TypeRecord& record, int number) {
  switch (number) {
    case 1: return record.name1;
    case 2: return record.name2;
    case 3: return record.name3;
    default: return record.name4;
  }
}

/// Tells whether a record's type can be used.
/// @param record of the type table.
/// @return whether its pointer is set and its sequence is not empty.
inline bool isReady(const TypeRecord& record) { return record.type != nullptr && !record.members.empty(); }

#pragma GCC visibility pop

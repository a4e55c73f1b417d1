// The runtime's registry of loaded types: three query functions, and the type table with its mutex.
// The host defines all of them. A host with another type record replaces this header; the library reads
// a record through `recordName` and `isReady` alone.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

extern "C" {

/// Counts the registered types. Entries are numbered from 0 and are never taken away.
int32_t Reflection_getTypeCount(void);

/// Names a registered type without its package.
/// @param index of the entry, below the count.
/// @return NUL-terminated name, or null. It stays valid at least until the full name of the same entry
///         has been fetched.
const char* Reflection_getTypeName(int32_t index);

/// Names a registered type with its package.
/// @param index of the entry, below the count.
/// @return NUL-terminated name, or null.
const char* Reflection_getTypeFullName(int32_t index);

}  // extern "C"

/// One row of the type table. What the four names spell is the host's choice.
struct TypeRecord {
  std::string name1;
  std::string name2;
  std::string name3;
  std::string name4;
  void* type;
  std::vector<void*> members;
};

/// Guards `gTypes`.
extern std::mutex gReflectionMutex;

/// Every type that the runtime knows, generic instances included.
extern std::vector<TypeRecord> gTypes;

/// Returns one of a record's four names.
/// @param number from 1 to 4.
inline const std::string& recordName(const TypeRecord& record, int number) {
  switch (number) {
    case 1: return record.name1;
    case 2: return record.name2;
    case 3: return record.name3;
    default: return record.name4;
  }
}

/// Tells whether a record's type can be used: its pointer is set and its sequence is not empty.
inline bool isReady(const TypeRecord& record) { return record.type != nullptr && !record.members.empty(); }

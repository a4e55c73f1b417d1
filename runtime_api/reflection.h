/// The runtime's registry of loaded types: three query functions, and the type table with its mutex. The host defines
/// all of them. A host with another type record replaces this header; the library reads a record only through
/// `recordName` and `isReady`. `docs/neighbours.md` says what applies to everything that a host defines, and what
/// "required" and "advised" mean.
/// @file
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

// A host compiled with -fvisibility=hidden still serves the shared library.
#pragma GCC visibility push(default)

extern "C" {

/// Counts the registered types. Entries are numbered from 0 and are never removed.
/// @return the count; a negative one counts as 0.
///
/// - Required: every index below the count stays valid until the scan ends. The count is read once, when a scan starts;
///   types that are registered during the scan are not seen.
/// - Tolerated: that this function and the next two throw, although they are not expected to; it is bridged.
/// - Left to the host: how the registry is guarded. The library holds no lock here.
/// - Called by `orva_ClassLoader_getTypeByName`; and by `orva_ClassLoader_loadSourceClass` and
///   `orva_ClassLoader_loadObjectBundle`, before the load and after it.
int32_t Reflection_getTypeCount(void);

/// Names a registered type without its package.
/// @param index each from 0 up, once and in order, to the end of the registry or to an ambiguity.
/// @return NUL-terminated name, which the host owns, or null.
///
/// - Required: the name survives the call of `Reflection_getTypeFullName` for the same entry, which follows at once;
///   both names are read after it. It stays valid until this thread calls the host once more, whatever other threads
///   look up or load meanwhile.
/// - Advised: the last part of the full name. An entry has at least one of the two names.
/// - Tolerated: null and empty names: the tail of the full name then finds the entry. Short names with dots: no lookup
///   matches them. Several entries with the same names.
/// - Left to the host: how long the name stays valid beyond that.
/// - Called by the natives that call `Reflection_getTypeCount`.
const char* Reflection_getTypeName(int32_t index);

/// Names a registered type with its package.
/// @param index that of the call of `Reflection_getTypeName` just before.
/// @return NUL-terminated name, which the host owns, or null.
///
/// - Required: the name stays valid until this thread calls the host again, whatever other threads look up or load
///   meanwhile.
/// - Tolerated: null and empty names: the short name then finds the entry, and stands for it.
/// - Left to the host: what a full name looks like. The library reads only its dots.
/// - Called by the natives that call `Reflection_getTypeCount`.
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

/// Guards `gTypes`.
///
/// - Required: whoever changes the table holds it, so a load waits for it. A host that takes it together with a lock of
///   its own takes the two in one order, in lookups and in loads.
/// - Tolerated: a lock that fails: the `std::system_error` becomes a raise, and nothing is unlocked.
/// - Left to the host: what else it guards, and who else takes it.
/// - Locked by `orva_ClassLoader_getTypeByName` alone, for the walk of `gTypes`, at most once per call. Nothing but
///   `recordName` and `isReady` runs under it. The caller of the native must not hold it.
extern std::mutex gReflectionMutex;

/// Every type that the runtime knows, generic instances included.
///
/// - Required: records with the layout that the library was compiled with. The table is only read, from the first
///   record on.
/// - Advised: a ready record for every registered type. Each lookup of a generic instance without one asks the compiler
///   again.
/// - Tolerated: an empty table; records that are not ready, which are skipped; several that spell the same name.
/// - Left to the host: what the four names hold. What is found decides only whether the compiler is asked.
/// - Read by `orva_ClassLoader_getTypeByName`.
extern std::vector<TypeRecord> gTypes;

/// Reads one of a record's four names. It is called under `gReflectionMutex`, and must not lock it. When it throws, the
/// mutex is unlocked before the raise.
/// @param record of the type table.
/// @param number from 1 to 4.
/// @return the name, which is a part of the record.
inline const std::string& recordName(const TypeRecord& record, int number) {
  switch (number) {
    case 1: return record.name1;
    case 2: return record.name2;
    case 3: return record.name3;
    default: return record.name4;
  }
}

/// Tells whether a record's type can be used. It is called as `recordName` is.
/// @param record of the type table.
/// @return whether its pointer is set and its sequence is not empty.
inline bool isReady(const TypeRecord& record) { return record.type != nullptr && !record.members.empty(); }

#pragma GCC visibility pop

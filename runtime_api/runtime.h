/// The runtime's core entry points: raising, looking up, allocating and reading lists. The host defines them.
/// `docs/neighbours.md` says what applies to everything that a host defines, and what "required" and "advised" mean.
/// @file
#pragma once

#include <cstdint>

// A host compiled with -fvisibility=hidden still serves the shared library.
#pragma GCC visibility push(default)

extern "C" {

/// Makes a language exception pending for the native that is running, and returns.
/// @param exceptionClass "Exception", "ValueException", "IOException", "ClassNotFoundException" or
///        "IllegalStateException".
/// @param message the complete message; never null, may be empty.
///
/// - Required: it copies both strings. `message` is often the text of a C++ exception that is destroyed right after.
/// - Tolerated: that it throws. The object leaves the native, unless the raise is inside the native's bridge: that
///   bridge then treats it like any other exception, and a second raise follows.
/// - Left to the host: how the exception reaches the program once the native has returned, and what becomes of an
///   exception that is pending already.
/// - Called by all natives but `orva_ClassLoader_objectAbiVersion` and `orva_SystemClassLoader_loadClass`.
void Orva_raise(const char* exceptionClass, const char* message);

/// Looks a type up by its language name.
/// @param typeName from the two lookups, the program's own pointer: null, empty, a short name, or a generic name in any
///        spacing. From the natives that load plugins, a name out of the registry.
/// @return the type object, which the host owns; null when no type has that name.
///
/// - Required: the type object of that name, or null.
/// - Advised: one object for one name; generic names in any spacing; nothing raised for an unknown name.
/// - Tolerated: null for a type that the registry has: it is returned, and nothing is raised. That it throws: only the
///   natives that load plugins bridge this.
/// - Left to the host: which spellings it knows, and whether it loads anything.
/// - Called by `orva_ClassLoader_getTypeByName`, `orva_ClassLoader_loadSourceClass`,
///   `orva_ClassLoader_loadObjectBundle` and `orva_SystemClassLoader_loadClass`.
void* Orva_typeByName(const char* typeName);

/// Allocates an instance of a language class. It reports failure by throwing.
/// @param className short name of the class: "SystemClassLoader". Its source was loaded before, unless there is no
///        standard library.
/// @return the new object, which the host owns and the library keeps.
///
/// - Required: an object of that class that stays valid as long as the process lives. A garbage collector must know
///   that the library keeps it.
/// - Advised: a new object for each call; an exception for an unknown class.
/// - Tolerated: null, which is returned; the next call of the native asks again. Several threads may allocate at once.
/// - Left to the host: where the class comes from when there is no standard library.
/// - Called by `orva_ClassLoader_getSystem`.
void* Orva_allocObject(const char* className);

/// Counts the elements of a language `ArrayList` of `String`.
/// @param list the handle that the program passed; not null.
/// @return the count; a negative one counts as 0.
///
/// - Required: all 64 bits of the count. It is asked for once, before any element.
/// - Tolerated: a count for which there is no memory; it becomes an exception.
/// - Left to the host: that the list does not shrink while it is read.
/// - Called by `orva_ClassLoader_precompileSources` and `orva_ClassLoader_loadObjectBundle`.
int64_t orva_collections_ArrayList_size(void* list);

/// Reads one element of a language `ArrayList` of `String`.
/// @param list the handle that the program passed; not null.
/// @param index each from 0 up, once and in order, below the size.
/// @return the element's NUL-terminated text, which the host owns and the library copies at once; null for a null
///         element, which ends the reading with an exception.
///
/// - Required: the text of the element, however long the list is; it stays valid until the next call.
/// - Advised: it reads all 64 bits of the index.
/// - Left to the host: whether an index below the size can fail.
/// - Called by `orva_ClassLoader_precompileSources` and `orva_ClassLoader_loadObjectBundle`.
const char* orva_collections_ArrayList_operator_index(void* list, int64_t index);

}  // extern "C"

#pragma GCC visibility pop

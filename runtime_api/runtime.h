/// The runtime's core entry points: raising, looking up, allocating and reading lists. The host defines them.
/// @file
#pragma once

#include <cstdint>

// A host compiled with -fvisibility=hidden still serves the shared library.
#pragma GCC visibility push(default)

extern "C" {

/// Marks a language exception as pending for the current native call and returns normally.
/// The host copies both strings before it returns: `message` is often the text of a C++ exception
/// that is destroyed right after the call. Should it throw, the object leaves the native; thrown by a raise inside of a
/// native's bridge, it is bridged like any other.
/// @param exceptionClass short class name, such as "ValueException"; never null.
/// @param message the complete message; never null, may be empty.
void Orva_raise(const char* exceptionClass, const char* message);

/// Looks a type up by its language name.
/// @param typeName the name as a program wrote it; may be null or empty.
/// @return the type object, which the runtime owns; null when no type has that name.
///
/// What it throws is bridged only where a plugin's entry type is looked up; elsewhere it leaves the native.
void* Orva_typeByName(const char* typeName);

/// Allocates an instance of a language class.
/// @param className short name of the class, such as "SystemClassLoader".
/// @return the new object, which the runtime owns; the library keeps it for the life of the process. Null is handed on.
///
/// Reports failure by throwing.
void* Orva_allocObject(const char* className);

/// Counts the elements of a language `ArrayList` of `String`.
/// @param list handle of the list; not null.
/// @return the count; a negative one is read as 0.
int64_t orva_collections_ArrayList_size(void* list);

/// Reads one element of a language `ArrayList` of `String`.
/// @param list handle of the list; not null.
/// @param index 0-based, below the size of the list.
/// @return the element's NUL-terminated text, which the runtime owns and which is copied at once; null for a null
///         element.
const char* orva_collections_ArrayList_operator_index(void* list, int64_t index);

}  // extern "C"

#pragma GCC visibility pop

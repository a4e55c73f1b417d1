/**
 * @file
 * The native half of the language classes `ClassLoader` and `SystemClassLoader`: the functions that a host
 * binds to their native methods. This header is the list of them, and compiles as C and as C++.
 *
 * Strings are NUL-terminated, may be null unless a function says otherwise, and are not kept past the call.
 * Handles (`void*`) belong to the runtime; null is the language's null. Each function runs on the calling
 * thread. "Raises" means: calls `Orva_raise` once with that exception class, then returns the failure value,
 * which is null, 0 or nothing. C++ exceptions that a function does not say it bridges pass through it.
 */
#ifndef ORVA_CLASSLOADER_NATIVES_H
#define ORVA_CLASSLOADER_NATIVES_H

#include <stdint.h>

#include "version.h"

#if defined(__GNUC__)
#define ORVA_EXPORT __attribute__((visibility("default")))
#else
#define ORVA_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/**
 * `static ClassLoader.objectAbiVersion()`: the version of the object format that the compiler writes.
 * @return the compiler's 32-bit version, sign-extended.
 *
 * Bridges nothing.
 */
ORVA_EXPORT int64_t orva_ClassLoader_objectAbiVersion(void);

/**
 * `static ClassLoader.getSystem()`: the process-wide `SystemClassLoader`, created by the first call after
 * the two standard-library sources that describe the class loaders were loaded.
 * Not synchronised: threads that make the first call at once may each create an instance; the last one stays.
 * @return the instance; null after a raise, or when the runtime allocated none.
 *
 * Raises "Exception" with the text of any `std::exception` thrown inside, and with a fixed text for any
 * other thrown object. The next call tries again.
 */
ORVA_EXPORT void* orva_ClassLoader_getSystem(void);

/**
 * `static ClassLoader.getTypeByName(name)`: looks a type up, and first makes sure that it can exist: a
 * generic instance is materialised, the source of an unknown class is found on the class path and loaded.
 * @param typeName full name, short name or generic instance; null and empty go straight to the runtime.
 * @return what the runtime answers for the name as given: the type object, or null for an unknown type.
 *
 * Raises "ClassNotFoundException" with the text of any `std::exception` thrown while the type is looked for:
 * an ambiguous short name, a failing compiler, a failing lock. What the runtime's final lookup throws, and
 * thrown objects of other kinds, pass through.
 */
ORVA_EXPORT void* orva_ClassLoader_getTypeByName(const char* typeName);

/**
 * `static ClassLoader.addSourceRoot(root)`: adds a directory to the class path and drops the caches that
 * were derived from the old one.
 * @param root the directory, handed to the runtime unchanged; required.
 * @return 1 when the runtime added the root. 0 after a raise, and, with nothing raised, when the runtime
 *         refused a root that exists as a directory.
 *
 * Raises "ValueException" for a null or empty root, and "IOException" for a refused root that is not an
 * existing directory. Bridges nothing.
 */
ORVA_EXPORT int64_t orva_ClassLoader_addSourceRoot(const char* root);

/**
 * `static ClassLoader.precompileSources(files)`: has the compiler compile source files ahead of use.
 * @param sourceFiles an `ArrayList` of `String`, passed on in order; required, without null elements.
 *
 * Raises "Exception" with the text of any `std::exception` thrown inside; thrown objects of other kinds
 * pass through.
 */
ORVA_EXPORT void orva_ClassLoader_precompileSources(void* sourceFiles);

/**
 * `static ClassLoader.loadSourceClass(file, entryType)`: loads a plugin from one source file.
 * @param sourceFile path of the plugin's source; required.
 * @param entryType name of the type that the plugin is loaded for, unknown before the load and known after
 *        it; required.
 * @return the entry type's type object; null after a raise, or when the runtime has none for it.
 *
 * Raises "ValueException" for a missing argument, "IllegalStateException" when the entry type is registered
 * already, "ClassNotFoundException" when it is still unknown after the load, and "Exception" with the text
 * of any `std::exception` thrown inside; thrown objects of other kinds pass through.
 */
ORVA_EXPORT void* orva_ClassLoader_loadSourceClass(const char* sourceFile, const char* entryType);

/**
 * `static ClassLoader.loadObjectBundle(objects, identities, entryType)`: loads a plugin from precompiled
 * object files.
 * @param objectPaths an `ArrayList` of `String`: the object files; required, without null elements.
 * @param sourceIdentities an `ArrayList` of `String`: element i is the identity of the source that object i
 *        was built from; required, without null elements, as long as `objectPaths`.
 * @param entryType as for `orva_ClassLoader_loadSourceClass`.
 * @return as for `orva_ClassLoader_loadSourceClass`.
 *
 * Raises as `orva_ClassLoader_loadSourceClass` does; a null element and lists of different lengths raise "Exception".
 */
ORVA_EXPORT void* orva_ClassLoader_loadObjectBundle(void* objectPaths, void* sourceIdentities, const char* entryType);

/**
 * `SystemClassLoader.loadClass(name)`: asks the runtime for a type, and loads nothing.
 * @param receiver ignored.
 * @param className passed on unchanged, null and empty included.
 * @return what the runtime answers.
 *
 * Bridges nothing.
 */
ORVA_EXPORT void* orva_SystemClassLoader_loadClass(void* receiver, const char* className);

/**
 * `SystemClassLoader.loadPackageTypes(packageName)`: loads every source file that lies directly in the
 * package's directory under the first class path root that has one, ordered by name.
 * No root may be added to the class path while the search runs.
 * @param receiver ignored.
 * @param packageName dotted package name.
 *
 * Raises "ValueException" for a name that is no package name, "ClassNotFoundException" when no root holds
 * the package, "IOException" when its directory cannot be listed, and "Exception" with the text of any
 * `std::exception` thrown inside or with a fixed text for any other thrown object. A directory that may not
 * be read counts as empty. Files loaded before a failure stay loaded.
 */
ORVA_EXPORT void orva_SystemClassLoader_loadPackageTypes(void* receiver, const char* packageName);

#ifdef __cplusplus
}
#endif

#endif /* ORVA_CLASSLOADER_NATIVES_H */

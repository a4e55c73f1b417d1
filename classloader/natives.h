/**
 * @file
 * The native half of the language classes `ClassLoader` and `SystemClassLoader`: the functions that a host binds to
 * their native methods. This header lists them, says what each takes, returns and raises, and compiles as C and as C++.
 * `docs/natives.md` has the order of their calls into the host.
 *
 * Strings are NUL-terminated and may be null. Handles (`void*`) belong to the host; null is the language's null. A list
 * is a handle of an `ArrayList` of `String`. The library copies what it needs and keeps no pointer. Truth values are 1
 * and 0. A static method takes its declared parameters only; an instance method takes the receiver first, and ignores
 * it. Each function runs on the calling thread.
 *
 * "Raises" means: calls `Orva_raise` once with that class and message, then returns null, 0 or nothing. "Its text" is
 * what `what()` of the caught exception returns, unchanged, even if it is empty; memory that runs out is such an
 * exception. What the native built is released before that raise. What the host did before a failure stays done: the
 * library undoes nothing, and makes none of the remaining calls.
 *
 * What `Orva_raise` throws leaves the native. Where the raise is inside the native's bridge, the bridge first handles
 * it like any other exception.
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
 * Raises nothing. Whatever the compiler throws passes through.
 */
ORVA_EXPORT int64_t orva_ClassLoader_objectAbiVersion(void);

/**
 * `static ClassLoader.getSystem()`: the process-wide `SystemClassLoader`. The first call loads the two standard library
 * sources that declare the class loaders, then allocates the object; later calls return that object. Not synchronised:
 * threads that make the first call at once may each allocate an object; the last one is kept.
 * @return the object; null after a raise. Null, with nothing raised, when the runtime allocates none: the next call
 *         then asks it again, and loads nothing that is loaded.
 *
 * Raises "Exception"
 * - with its text, when a `std::exception` is thrown;
 * - with "Unknown native failure while initializing the system class loader", when any other object is thrown.
 *
 * After a raise no object is kept, and the next call tries again; it loads both sources again unless both had been
 * loaded. Only what `Orva_raise` throws passes through.
 */
ORVA_EXPORT void* orva_ClassLoader_getSystem(void);

/**
 * `static ClassLoader.getTypeByName(name)`: looks a type up, and first makes sure that it can exist: a generic instance
 * without a ready record is materialised, and the source of a class that the registry does not know is found on the
 * class path and loaded.
 * @param typeName full name, short name or generic instance. For a null or empty name, and for one with '<' and no '>',
 *        only the runtime is asked.
 * @return what `Orva_typeByName` returns for the name as given, which is null for an unknown type; null after a raise.
 *
 * Raises "ClassNotFoundException"
 * - with "Ambiguous plugin entry type 'NAME'; use its fully qualified name", when several types have this short name;
 *   the compiler is then not called;
 * - with its text, when any other `std::exception` is thrown before the final lookup, such as the system's error when
 *   the lock fails; nothing is then read or unlocked.
 *
 * After a raise the mutex is free, and the final lookup is not made. What the final lookup throws passes through, and
 * so do objects not derived from `std::exception`.
 */
ORVA_EXPORT void* orva_ClassLoader_getTypeByName(const char* typeName);

/**
 * `static ClassLoader.addSourceRoot(root)`: adds a directory to the class path, and has the caches of the old class
 * path dropped. No native removes a root.
 * @param root passed to the runtime as given: not trimmed, not made absolute. What the runtime adds is not looked for
 *        on the disk.
 * @return 1 when the runtime added the root, otherwise 0. Nothing is raised when the runtime refused an existing
 *         directory; links are followed.
 *
 * Raises
 * - "ValueException" with "Class path root is required", when the root is null or empty; the runtime is not asked;
 * - "IOException" with "Class path root does not exist: ROOT", when the runtime refused a root that is missing, cannot
 *   be looked at, or is not a directory; the caches are kept.
 *
 * Whatever the host throws passes through. When dropping the caches throws, the root is on the class path already.
 */
ORVA_EXPORT int64_t orva_ClassLoader_addSourceRoot(const char* root);

/**
 * `static ClassLoader.precompileSources(files)`: has the compiler compile source files ahead of use.
 * @param sourceFiles passed on in order, empty strings, repeated ones and an empty list included. Whether the files
 *        exist and are sources is for the compiler to say.
 *
 * Raises "Exception"
 * - with "Source filename list is required", when the list is null: this native checks nothing ahead of its bridge, so
 *   this is not a "ValueException";
 * - with "Source filename list cannot contain null", when an element is null; the compiler is not called;
 * - with its text, when any other `std::exception` is thrown.
 *
 * Objects not derived from `std::exception` pass through.
 */
ORVA_EXPORT void orva_ClassLoader_precompileSources(void* sourceFiles);

/**
 * `static ClassLoader.loadSourceClass(file, entryType)`: loads a plugin from one source file.
 * @param sourceFile path of the plugin's source, passed on as given.
 * @param entryType name of the type that the plugin is loaded for. It must be unknown before the load and known after
 *        it, so the same call is refused the second time.
 * @return what `Orva_typeByName` returns for the registered name, null included; null after a raise.
 *
 * Raises
 * - "ValueException" with "Plugin source filename and entry type are required", when either is null or empty; nothing
 *   is called;
 * - "IllegalStateException" with "Plugin entry type is already registered: NAME", where NAME is the registered name;
 *   nothing is loaded;
 * - "Exception" with "Ambiguous plugin entry type 'NAME'; use its fully qualified name", when several types have this
 *   short name, before the load or after it;
 * - "ClassNotFoundException" with "Plugin entry type is not registered: NAME", where NAME is the name as given, when it
 *   is unknown after the load;
 * - "Exception" with its text, when any other `std::exception` is thrown.
 *
 * A plugin that was loaded stays loaded, whatever fails afterwards. Objects not derived from `std::exception` pass
 * through.
 */
ORVA_EXPORT void* orva_ClassLoader_loadSourceClass(const char* sourceFile, const char* entryType);

/**
 * `static ClassLoader.loadObjectBundle(objects, identities, entryType)`: loads a plugin from precompiled object files.
 * @param objectPaths the object files, passed on in order.
 * @param sourceIdentities element i is the identity of the source that object i was built from. There are as many as
 *        objects; two empty lists are accepted.
 * @param entryType as for `orva_ClassLoader_loadSourceClass`.
 * @return as for `orva_ClassLoader_loadSourceClass`.
 *
 * Raises as `orva_ClassLoader_loadSourceClass` does, but
 * - "ValueException" with "Plugin object bundle, source identities and entry type are required", when a list is null,
 *   or the entry type null or empty; nothing is called;
 * - "Exception" with "Plugin object path list cannot contain null" or "Plugin source identity list cannot contain
 *   null", when an element is null; nothing is loaded;
 * - "Exception" with "Plugin object and source identity lists must have the same size"; nothing is loaded.
 */
ORVA_EXPORT void* orva_ClassLoader_loadObjectBundle(void* objectPaths, void* sourceIdentities, const char* entryType);

/**
 * `SystemClassLoader.loadClass(name)`: asks the runtime for a type. It searches and loads nothing; that is what
 * `orva_ClassLoader_getTypeByName` does.
 * @param receiver ignored.
 * @param className passed on as given, null and empty included.
 * @return what `Orva_typeByName` returns.
 *
 * Raises nothing. Whatever the runtime throws passes through.
 */
ORVA_EXPORT void* orva_SystemClassLoader_loadClass(void* receiver, const char* className);

/**
 * `SystemClassLoader.loadPackageTypes(packageName)`: loads every source that lies directly in the package's directory,
 * sorted by the bytes of their paths. The first class path root that has this directory counts, even if it holds no
 * source. No root may be added to the class path while the search runs.
 *
 * Sources are regular files, and links to such, whose extension is exactly `.ov`; a file called `.ov` has no extension.
 * A directory that may not be opened counts as empty. A root, or an entry of the directory, that cannot be looked at is
 * skipped.
 * @param receiver ignored.
 * @param packageName dotted package name; null counts as the empty name.
 *
 * Raises
 * - "ValueException" with "A valid package name is required", when the host refuses the name; neither the runtime nor
 *   the file system is asked;
 * - "ClassNotFoundException" with "Package not found: NAME", when no root has the directory;
 * - "IOException" with "Cannot enumerate package 'NAME': " and the system's text, when listing fails otherwise; nothing
 *   is loaded;
 * - "Exception" with its text, when a `std::exception` is thrown;
 * - "Exception" with "Unknown native failure while loading package", when any other object is thrown.
 *
 * Sources loaded before a failure stay loaded; those after it are not tried. Only what the last two raises throw passes
 * through.
 */
ORVA_EXPORT void orva_SystemClassLoader_loadPackageTypes(void* receiver, const char* packageName);

#ifdef __cplusplus
}
#endif

#endif /* ORVA_CLASSLOADER_NATIVES_H */

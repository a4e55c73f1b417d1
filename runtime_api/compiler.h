/// The compiler's interface: the just-in-time engine, the class path and the compiler-side class loader. The host
/// defines every operation. Those that can fail throw a `std::exception` with a complete message. `docs/neighbours.md`
/// says what applies to everything that a host defines, and what "required" and "advised" mean.
/// @file
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// A host compiled with -fvisibility=hidden still serves the shared library.
#pragma GCC visibility push(default)

/// The operations of the compiler that the library calls. The types that are only declared here are the host's own: the
/// library holds a share of a context while a step of its work needs it, creates no token and no progress, and never
/// looks inside any of them.
namespace orva::compiler {

class Context;
class Token;

/// Compiles sources and loads code into the active just-in-time engine.
class Compiler {
 public:
  /// The argument of a progress callback. The host defines its members.
  struct CompilationProgress;

  /// Tells which object format this compiler writes and loads.
  /// @return the version; any number, negative ones included.
  ///
  /// - Required: the version of the object format.
  /// - Advised: the same one each time.
  /// - Tolerated: that it throws anything, which leaves the native.
  /// - Left to the host: what the numbers mean.
  /// - Called by `orva_ClassLoader_objectAbiVersion`.
  static int32_t objectAbiVersion();

  /// Returns the compilation context of the active runtime.
  /// @return a share of it, which the library releases before its native returns or raises.
  ///
  /// - Required: the context in which the running program was compiled.
  /// - Tolerated: an empty pointer, which is passed on untested.
  /// - Left to the host: whether there is one context or several.
  /// - Called by `orva_ClassLoader_getTypeByName`, `orva_ClassLoader_precompileSources` and
  ///   `orva_SystemClassLoader_loadPackageTypes`, by each at most once per call.
  static std::shared_ptr<Context> activeRuntimeContext();

  /// Compiles a source file into the active engine unless it is loaded already.
  /// @param sourcePath path of the file, relative or absolute, whether or not a file is there; empty when
  ///        `materializeRuntimeGenericType` left it so.
  /// @param context the active context for classes, generic instances and packages; empty for plugins and for the two
  ///        sources of the class loaders.
  ///
  /// - Required: when it returns, the source is compiled and loaded, and its types are registered. Loading a source
  ///   again succeeds and changes nothing. It throws when the source cannot be loaded, and leaves `gReflectionMutex`
  ///   free.
  /// - Advised: a load that fails registers nothing, and succeeds once its source is fixed. Two threads may load one
  ///   source at once.
  /// - Tolerated: that it registers nothing, or other types than expected. The next lookup of an instance without a
  ///   ready record asks the compiler again.
  /// - Left to the host: what an empty context means (the reference host then lets a source lie anywhere); what a load
  ///   that fails leaves behind; what happens when two threads load the same source.
  /// - Called by `orva_ClassLoader_getSystem`, `orva_ClassLoader_getTypeByName`, `orva_ClassLoader_loadSourceClass` and
  ///   `orva_SystemClassLoader_loadPackageTypes`.
  static void ensureSourceLoadedInActiveJit(const std::string& sourcePath, std::shared_ptr<Context> context);

  /// Loads precompiled object files into the active engine.
  /// @param objectPaths paths of the object files.
  /// @param sourceIdentities element i is the identity of the source that object i was built from; as many as there are
  ///        paths, which may be none.
  ///
  /// - Required: when it returns, the objects are loaded and their types are registered. It throws when one of them
  ///   cannot be loaded, or was built from a source with another identity, even one of the same length.
  /// - Advised: it accepts an empty bundle. When it refuses a bundle, it registers none of its types.
  /// - Tolerated: that it registers nothing, or other types than expected.
  /// - Left to the host: the format of objects, what an identity is, and what a bundle that fails leaves behind.
  /// - Called by `orva_ClassLoader_loadObjectBundle`.
  static void ensureObjectBundleLoadedInActiveJit(const std::vector<std::string>& objectPaths,
                                                  const std::vector<std::string>& sourceIdentities);

  /// Compiles source files ahead of use.
  /// @param sourceFiles paths in the program's order, repeated and empty ones included; there may be none.
  /// @param context the active context.
  /// @param progress always empty here: test it before calling it.
  ///
  /// - Required: it throws when a source cannot be compiled.
  /// - Advised: it accepts an empty list, and registers nothing.
  /// - Left to the host: what it writes and where, and what remains of a list in which one source fails.
  /// - Called by `orva_ClassLoader_precompileSources`.
  static void precompileSources(const std::vector<std::string>& sourceFiles, std::shared_ptr<Context> context,
                                const std::function<void(const CompilationProgress&)>& progress);
};

/// The process-wide runtime: the owner of the class path.
class Runtime {
 public:
  /// Finds the one runtime of the process.
  /// @return the runtime, which lives as long as the process.
  ///
  /// - Required: the one runtime, never a null reference.
  /// - Left to the host: when it is made.
  /// - Called by `orva_ClassLoader_getSystem`, `orva_ClassLoader_addSourceRoot` and
  ///   `orva_SystemClassLoader_loadPackageTypes`, by each at most once per call.
  static Runtime& getInstance();

  /// Tells where the standard library is.
  /// @return its root directory, with or without a separator at the end, relative or absolute.
  ///
  /// - Required: the folder that contains `orva/ClassLoader.ov` and `orva/SystemClassLoader.ov`.
  /// - Tolerated: an empty path: no source is loaded then, and the `SystemClassLoader` is allocated all the same.
  /// - Called by `orva_ClassLoader_getSystem`, until both sources are loaded.
  std::string getStandardLibraryPath() const;

  /// Returns the class path.
  /// @return the roots in the order in which they are searched, with those that programs added.
  ///
  /// - Required: the list stays unchanged while a search reads it, which it does in place.
  /// - Advised: later roots come later, and a list that was returned never changes. A host that changes it must keep
  ///   programs from adding roots during a search.
  /// - Tolerated: an empty list; roots that are missing or are not directories, which are skipped; repeated and
  ///   relative roots; roots with and without a separator at the end.
  /// - Left to the host: whether the standard library is one of them.
  /// - Called by `orva_SystemClassLoader_loadPackageTypes`.
  const std::vector<std::string>& getKlassPaths() const;

  /// Adds a root to the class path.
  /// @param root the directory as a program wrote it; not empty.
  /// @return whether it was added.
  ///
  /// - Required: true when it added the root; false when it did not, and the list is unchanged.
  /// - Tolerated: that it refuses a directory, which raises nothing; that it accepts what is not a directory.
  /// - Left to the host: which roots it refuses, such as one that is there already, even under another spelling.
  /// - Called by `orva_ClassLoader_addSourceRoot`.
  bool addKlassPath(const std::string& root);
};

/// The compiler's side of class loading.
class ClassLoader {
 public:
  /// Finds the source file of a class on the class path. It throws when the class path cannot be searched.
  /// @param className a name that the registry does not know, as a program wrote it: not trimmed, short or qualified,
  ///        with any byte but `<`.
  /// @param context the active context.
  /// @param token where the name stands, for messages; always empty here, as the name stands in no source.
  /// @return path of the file; empty when the class path has none.
  ///
  /// - Required: the path of the source that declares the class, or an empty one.
  /// - Tolerated: a path where there is no file; it is passed to the load.
  /// - Left to the host: what it remembers between calls.
  /// - Called by `orva_ClassLoader_getTypeByName`.
  static std::string sourceFileForClass(const std::string& className, const std::shared_ptr<Context>& context,
                                        const std::shared_ptr<Token>& token);

  /// Generates the source of a generic instance. It throws when the source cannot be generated.
  /// @param typeName the instance as a program wrote it, such as "Box<Circle>": a name with `<` and `>` somewhere in
  ///        it.
  /// @param instanceName empty; receives the instance's name, which the library does not read.
  /// @param sourceFile empty; receives the path of the source to load.
  /// @param context the active context, in which the source is loaded afterwards; may be replaced.
  /// @return whether there is a source to load.
  ///
  /// - Required: true with the path of the source to load; false when there is none.
  /// - Tolerated: true with an empty `sourceFile`, which is passed to the load; another context, which the load then
  ///   gets.
  /// - Left to the host: what a generic name is, and where the source comes from.
  /// - Called by `orva_ClassLoader_getTypeByName`.
  static bool materializeRuntimeGenericType(const std::string& typeName, std::string& instanceName,
                                            std::string& sourceFile, std::shared_ptr<Context>& context);

  /// Drops everything that was derived from an earlier class path.
  ///
  /// - Required: what was remembered of an earlier class path is forgotten.
  /// - Left to the host: what that is.
  /// - Called by `orva_ClassLoader_addSourceRoot`, once for each root that was added, right after it.
  static void invalidateKlassPathCaches();
};

/// The rules of package names.
class PackageLayout {
 public:
  /// Tells whether a program may ask for a package.
  /// @param packageName the name as a program wrote it; empty for null.
  /// @return whether it may.
  ///
  /// - Required: false for the empty name, true for the dotted names of packages.
  /// - Advised: false for names with empty segments or slashes.
  /// - Tolerated: that it accepts empty segments: `.a.b` and `a..b` then mean the folder of `a.b`, and `a.b.` that
  ///   folder with a separator at its end.
  /// - Left to the host: which names are valid. The library takes each segment for the name of a folder, so a host that
  ///   accepts slashes lets programs ask for any folder.
  /// - Called by `orva_SystemClassLoader_loadPackageTypes`.
  static bool isValidPackageName(std::string_view packageName);
};

}  // namespace orva::compiler

#pragma GCC visibility pop

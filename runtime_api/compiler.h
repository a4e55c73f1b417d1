/// The compiler's interface: the just-in-time engine, the class path and the compiler-side class loader.
/// The host defines every operation. Those that can fail throw a `std::exception` with a complete message.
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

/// What the library calls of the compiler.
namespace orva::compiler {

class Context;
class Token;

/// Compiles sources and loads code into the active just-in-time engine.
class Compiler {
 public:
  /// What a progress callback is told. The host gives it its members.
  struct CompilationProgress;

  /// Tells which object format this compiler writes and loads.
  /// @return the version; any number.
  static int32_t objectAbiVersion();

  /// Hands out the compilation context of the active runtime.
  /// @return a share of it, which the library gives back before its native returns or raises; may be empty.
  static std::shared_ptr<Context> activeRuntimeContext();

  /// Compiles a source file into the active engine unless it is loaded already.
  /// @param sourcePath path of the file, relative to the working directory or absolute.
  /// @param context the context to compile in; may be empty, which means what the host makes of it.
  ///
  /// Throws what keeps the file from being loaded.
  static void ensureSourceLoadedInActiveJit(const std::string& sourcePath, std::shared_ptr<Context> context);

  /// Loads precompiled object files into the active engine.
  /// @param objectPaths paths of the object files.
  /// @param sourceIdentities element i is the identity of the source that object i was built from;
  ///        as many as there are paths, which may be none.
  ///
  /// Throws what keeps them from being loaded.
  static void ensureObjectBundleLoadedInActiveJit(const std::vector<std::string>& objectPaths,
                                                  const std::vector<std::string>& sourceIdentities);

  /// Compiles source files ahead of use.
  /// @param sourceFiles paths of the files, compiled in this order.
  /// @param context the context to compile in; may be empty.
  /// @param progress called as files are done; may be empty.
  ///
  /// Throws what keeps them from being compiled.
  static void precompileSources(const std::vector<std::string>& sourceFiles, std::shared_ptr<Context> context,
                                const std::function<void(const CompilationProgress&)>& progress);
};

/// The process-wide runtime: the owner of the class path.
class Runtime {
 public:
  /// Finds the one runtime of the process.
  /// @return the runtime, which lives as long as the process.
  static Runtime& getInstance();

  /// Tells where the standard library is.
  /// @return its root directory; empty when there is none.
  std::string getStandardLibraryPath() const;

  /// Shows the class path.
  /// @return the roots in search order. The list stays as it is while a search reads it.
  const std::vector<std::string>& getKlassPaths() const;

  /// Adds a root to the class path.
  /// @param root the directory as a program wrote it; not empty.
  /// @return whether it was added; when and why a root is refused is the host's decision.
  bool addKlassPath(const std::string& root);
};

/// The compiler's side of class loading.
class ClassLoader {
 public:
  /// Finds the source file of a class on the class path.
  /// @param className the name as a program wrote it.
  /// @param context the context to search for.
  /// @param token where the name stands, for messages; empty when it stands in no source.
  /// @return path of the file; empty when the class path holds none.
  ///
  /// Throws what keeps the class path from being searched.
  static std::string sourceFileForClass(const std::string& className, const std::shared_ptr<Context>& context,
                                        const std::shared_ptr<Token>& token);

  /// Generates the source of a generic instance.
  /// @param typeName the instance as a program wrote it, such as "Box<Circle>".
  /// @param instanceName receives the instance's name, which the library does not read.
  /// @param sourceFile receives the path of the source to load.
  /// @param context the context to generate it in, and then to load it in; may be empty, and may be replaced.
  /// @return whether there is a source to load.
  ///
  /// Throws what keeps the source from being generated.
  static bool materializeRuntimeGenericType(const std::string& typeName, std::string& instanceName,
                                            std::string& sourceFile, std::shared_ptr<Context>& context);

  /// Drops everything that was derived from an earlier class path.
  static void invalidateKlassPathCaches();
};

/// The rules of package names.
class PackageLayout {
 public:
  /// Tells whether a dotted package name is acceptable.
  /// @param packageName the name as a program wrote it; empty for null.
  /// @return whether it is; false for the empty name.
  static bool isValidPackageName(std::string_view packageName);
};

}  // namespace orva::compiler

#pragma GCC visibility pop

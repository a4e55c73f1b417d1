// This team's own compiler.h: its classes have members that the library does not use.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#pragma GCC visibility push(default)

namespace orva::compiler {

class Token;

class Context {
 public:
  std::string unit;
};

class Compiler {
 public:
  struct CompilationProgress {
    std::string file;
  };

  static int32_t objectAbiVersion();
  static std::shared_ptr<Context> activeRuntimeContext();
  static void ensureSourceLoadedInActiveJit(const std::string& sourcePath, std::shared_ptr<Context> context);
  static void ensureObjectBundleLoadedInActiveJit(const std::vector<std::string>& objectPaths,
                                                  const std::vector<std::string>& sourceIdentities);
  static void precompileSources(const std::vector<std::string>& sourceFiles, std::shared_ptr<Context> context,
                                const std::function<void(const CompilationProgress&)>& progress);
};

class Runtime {
 public:
  static Runtime& getInstance();
  std::string getStandardLibraryPath() const;
  const std::vector<std::string>& getKlassPaths() const;
  bool addKlassPath(const std::string& root);

 private:
  std::vector<std::string> roots;
};

class ClassLoader {
 public:
  static std::string sourceFileForClass(const std::string& className, const std::shared_ptr<Context>& context,
                                        const std::shared_ptr<Token>& token);
  static bool materializeRuntimeGenericType(const std::string& typeName, std::string& instanceName,
                                            std::string& sourceFile, std::shared_ptr<Context>& context);
  static void invalidateKlassPathCaches();
};

class PackageLayout {
 public:
  static bool isValidPackageName(std::string_view packageName);
};

}  // namespace orva::compiler

#pragma GCC visibility pop

// The host as the checks call it: by the same names, but each call is noted while it runs. A check includes this header
// in place of those of `runtime_api/`. It reads a record's names itself, under a `Calling`.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "classloader/natives.h"
#include "host_contract/calls.h"
#include "host_contract/hooks.h"
#include "runtime_api/compiler.h"
#include "runtime_api/reflection.h"
#include "runtime_api/runtime.h"

namespace orva::host_contract {

/// Defines `function`, which notes the call and calls the function of that name in `scope`.
#define ORVA_NOTED(scope, function)                                \
  template <typename... Arguments>                                 \
  decltype(auto) function(Arguments&&... arguments) {              \
    const Calling call(#function);                                 \
    return scope::function(std::forward<Arguments>(arguments)...); \
  }

#define ORVA_NATIVE(symbol, ...) ORVA_NOTED(, symbol)
#include "classloader/native_list.inc"
#undef ORVA_NATIVE

ORVA_NOTED(, Orva_raise)
ORVA_NOTED(, Orva_typeByName)
ORVA_NOTED(, Orva_allocObject)
ORVA_NOTED(, orva_collections_ArrayList_size)
ORVA_NOTED(, orva_collections_ArrayList_operator_index)
ORVA_NOTED(, Reflection_getTypeCount)
ORVA_NOTED(, Reflection_getTypeName)
ORVA_NOTED(, Reflection_getTypeFullName)

/// The operations of `compiler::Compiler` that the checks call.
struct Compiler {
  static std::shared_ptr<compiler::Context> activeRuntimeContext() {
    const Calling call("Compiler::activeRuntimeContext");
    return compiler::Compiler::activeRuntimeContext();
  }
  static void ensureSourceLoadedInActiveJit(const std::string& sourcePath, std::shared_ptr<compiler::Context> context) {
    const Calling call("Compiler::ensureSourceLoadedInActiveJit");
    compiler::Compiler::ensureSourceLoadedInActiveJit(sourcePath, std::move(context));
  }
  static void ensureObjectBundleLoadedInActiveJit(const std::vector<std::string>& objectPaths,
                                                  const std::vector<std::string>& sourceIdentities) {
    const Calling call("Compiler::ensureObjectBundleLoadedInActiveJit");
    compiler::Compiler::ensureObjectBundleLoadedInActiveJit(objectPaths, sourceIdentities);
  }
  /// Without a listener, as the library calls it.
  static void precompileSources(const std::vector<std::string>& sourceFiles) {
    const Calling call("Compiler::precompileSources");
    compiler::Compiler::precompileSources(sourceFiles, compiler::Compiler::activeRuntimeContext(), {});
  }
};

/// The operations of `compiler::Runtime`.
struct Runtime {
  static compiler::Runtime& getInstance() {
    const Calling call("Runtime::getInstance");
    return compiler::Runtime::getInstance();
  }
  static std::string getStandardLibraryPath() {
    const Calling call("Runtime::getStandardLibraryPath");
    return compiler::Runtime::getInstance().getStandardLibraryPath();
  }
  static const std::vector<std::string>& getKlassPaths() {
    const Calling call("Runtime::getKlassPaths");
    return compiler::Runtime::getInstance().getKlassPaths();
  }
  static bool addKlassPath(const std::string& root) {
    const Calling call("Runtime::addKlassPath");
    return compiler::Runtime::getInstance().addKlassPath(root);
  }
};

/// `compiler::ClassLoader::sourceFileForClass`, in the active context.
inline std::string sourceFileForClass(const std::string& className) {
  const Calling call("ClassLoader::sourceFileForClass");
  return compiler::ClassLoader::sourceFileForClass(className, compiler::Compiler::activeRuntimeContext(), nullptr);
}

/// `compiler::ClassLoader::materializeRuntimeGenericType`, in the active context; its output arguments are dropped.
inline bool materializeRuntimeGenericType(const std::string& typeName) {
  const Calling call("ClassLoader::materializeRuntimeGenericType");
  std::string instanceName;
  std::string sourceFile;
  std::shared_ptr<compiler::Context> context = compiler::Compiler::activeRuntimeContext();
  return compiler::ClassLoader::materializeRuntimeGenericType(typeName, instanceName, sourceFile, context);
}

/// `compiler::PackageLayout::isValidPackageName`.
inline bool isValidPackageName(const std::string& packageName) {
  const Calling call("PackageLayout::isValidPackageName");
  return compiler::PackageLayout::isValidPackageName(packageName);
}

#undef ORVA_NOTED

/// The hooks of a host, each noted while it runs.
class NotedHooks : public Hooks {
 public:
  explicit NotedHooks(Hooks& hooks) : Hooks(hooks.recordOfHost()), hooks_(hooks) {}

  void start(const std::string& folder) override;
  std::optional<Raised> takePending() override;
  void* newStringList(const std::vector<const char*>& elements) override;
  void* boundNative(const char* symbol) override;
  void attachThread() override;
  bool callNative(void (*native)()) override;
  std::string classSource(const std::string& packageName, const std::string& className) override;
  std::string brokenSource(const std::string& packageName, const std::string& className) override;
  std::string genericSource(const std::string& packageName, const std::string& className) override;
  std::string objectFile(const std::string& sourceFile) override;
  std::string sourceIdentity(const std::string& sourceFile) override;

 private:
  Hooks& hooks_;
};

}  // namespace orva::host_contract

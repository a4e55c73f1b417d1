// The compiler's interface as natives see it; other rooms do the work of each operation.
#include <stdexcept>

#include "reference_host/compiler/context.h"
#include "reference_host/compiler/object_file.h"
#include "reference_host/language/lexer.h"
#include "reference_host/runtime/type_registry.h"
#include "runtime_api/compiler.h"
#include "runtime_api/runtime.h"

namespace orva::compiler {

/// Passed to the listener after each precompiled source.
struct Compiler::CompilationProgress {
  std::string sourceFile;
  std::size_t done;
  std::size_t total;
};

/// What kind of file the library asks for. It passes no context for a source that is named directly.
static Origin originOf(const std::string& path, const std::shared_ptr<Context>& context) {
  if (activeContext().generics.instanceOf(path)) return Origin::instance;
  return context == nullptr ? Origin::named : Origin::classPath;
}

int32_t Compiler::objectAbiVersion() { return currentObjectAbi; }

std::shared_ptr<Context> Compiler::activeRuntimeContext() { return shareActiveContext(); }

void Compiler::ensureSourceLoadedInActiveJit(const std::string& sourcePath, std::shared_ptr<Context> context) {
  activeContext().loader.load(sourcePath, originOf(sourcePath, context));
}

void Compiler::ensureObjectBundleLoadedInActiveJit(const std::vector<std::string>& objectPaths,
                                                   const std::vector<std::string>& sourceIdentities) {
  activeContext().loader.loadBundle(objectPaths, sourceIdentities);
}

void Compiler::precompileSources(const std::vector<std::string>& sourceFiles, std::shared_ptr<Context> /*context*/,
                                 const std::function<void(const CompilationProgress&)>& progress) {
  std::size_t done = 0;
  activeContext().loader.precompile(sourceFiles, [&](const std::string& file) {
    ++done;
    if (progress) progress({file, done, sourceFiles.size()});
  });
}

Runtime& Runtime::getInstance() {
  // It has no state of its own: what the runtime knows about classes is in the active context.
  static Runtime runtime;
  return runtime;
}

std::string Runtime::getStandardLibraryPath() const { return activeContext().classPath.standardLibrary(); }

const std::vector<std::string>& Runtime::getKlassPaths() const { return activeContext().classPath.roots(); }

bool Runtime::addKlassPath(const std::string& root) {
  try {
    return activeContext().classPath.add(root);
  } catch (const std::runtime_error& failure) {
    Orva_raise("IOException", failure.what());
    // If this returned false, the native would raise that the root does not exist.
    return true;
  }
}

std::string ClassLoader::sourceFileForClass(const std::string& className, const std::shared_ptr<Context>& /*context*/,
                                            const std::shared_ptr<Token>& /*token*/) {
  return activeContext().classPath.find(className);
}

bool ClassLoader::materializeRuntimeGenericType(const std::string& typeName, std::string& instanceName,
                                                std::string& sourceFile, std::shared_ptr<Context>& /*context*/) {
  const auto instance = activeContext().generics.materialize(typeName);
  if (!instance) return false;
  runtime::noteSpelling(typeName, instance->name);
  instanceName = instance->name;
  sourceFile = instance->sourceFile;
  return true;
}

// There is nothing to invalidate: each search asks the file system anew.
void ClassLoader::invalidateKlassPathCaches() {}

bool PackageLayout::isValidPackageName(std::string_view packageName) { return language::isQualifiedName(packageName); }

}  // namespace orva::compiler

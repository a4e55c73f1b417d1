// The compiler. It reads no files, but takes the type's name from the path: loading `a/b/C.ov` registers a.b.C.
#include "runtime_api/compiler.h"

#include <algorithm>
#include <stdexcept>

#include "other_host.h"

namespace orva::compiler {

static const std::string ending = ".ov";

/// Returns the type that a source defines. Throws unless the path is that of a source.
static std::string typeOf(const std::string& path) {
  const bool isSource = path.size() > ending.size() && path.rfind(ending) == path.size() - ending.size();
  if (!isSource) throw std::runtime_error(path + " is not a source");
  std::string name = path.substr(0, path.size() - ending.size());
  std::replace(name.begin(), name.end(), '/', '.');
  return name;
}

int32_t Compiler::objectAbiVersion() { return -3; }

std::shared_ptr<Context> Compiler::activeRuntimeContext() {
  static const auto context = std::make_shared<Context>(Context{"main"});
  return context;
}

void Compiler::ensureSourceLoadedInActiveJit(const std::string& sourcePath, std::shared_ptr<Context> /*context*/) {
  other_host::registerType(typeOf(sourcePath));
}

void Compiler::ensureObjectBundleLoadedInActiveJit(const std::vector<std::string>& objectPaths,
                                                   const std::vector<std::string>& sourceIdentities) {
  for (std::size_t index = 0; index < objectPaths.size(); ++index) {
    if (objectPaths[index] != sourceIdentities[index] + ".o") throw std::runtime_error("Another source");
  }
  for (const std::string& identity : sourceIdentities) other_host::registerType(typeOf(identity));
}

void Compiler::precompileSources(const std::vector<std::string>& sourceFiles, std::shared_ptr<Context> /*context*/,
                                 const std::function<void(const CompilationProgress&)>& progress) {
  for (const std::string& file : sourceFiles) {
    typeOf(file);
    if (progress) progress({file});
  }
}

Runtime& Runtime::getInstance() {
  static Runtime runtime;
  return runtime;
}

std::string Runtime::getStandardLibraryPath() const { return {}; }

const std::vector<std::string>& Runtime::getKlassPaths() const { return roots; }

bool Runtime::addKlassPath(const std::string& root) {
  if (root != "sources") return false;
  roots.push_back(root);
  return true;
}

std::string ClassLoader::sourceFileForClass(const std::string& className, const std::shared_ptr<Context>& /*context*/,
                                            const std::shared_ptr<Token>& /*token*/) {
  if (className.rfind("app.", 0) != 0) return {};
  std::string path = className;
  std::replace(path.begin(), path.end(), '.', '/');
  return path + ending;
}

bool ClassLoader::materializeRuntimeGenericType(const std::string& typeName, std::string& instanceName,
                                                std::string& sourceFile, std::shared_ptr<Context>& /*context*/) {
  instanceName = typeName;
  sourceFile = typeName + ending;
  return typeName.rfind("Missing", 0) != 0;
}

void ClassLoader::invalidateKlassPathCaches() {}

bool PackageLayout::isValidPackageName(std::string_view packageName) { return !packageName.empty(); }

}  // namespace orva::compiler

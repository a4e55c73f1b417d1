// Class path roots, precompilation, and loading a plugin's entry type from a source file or object bundle.
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "classloader/failure_bridge.h"
#include "classloader/natives.h"
#include "classloader/string_argument.h"
#include "classloader/string_list.h"
#include "classloader/type_names.h"
#include "classloader/version_note.h"
#include "runtime_api/compiler.h"
#include "runtime_api/runtime.h"

namespace fs = std::filesystem;

using orva::compiler::Compiler;
using orva::compiler::Runtime;

static bool isExistingDirectory(const fs::path& path) {
  std::error_code error;
  return fs::exists(path, error) && fs::is_directory(path, error);
}

int64_t orva_ClassLoader_addSourceRoot(const char* root) {
  if (isMissing(root)) {
    Orva_raise("ValueException", "Class path root is required");
    return 0;
  }
  if (Runtime::getInstance().addKlassPath(root)) {
    orva::compiler::ClassLoader::invalidateKlassPathCaches();
    return 1;
  }
  if (!isExistingDirectory(root)) {
    Orva_raise("IOException", (std::string("Class path root does not exist: ") + root).c_str());
  }
  return 0;
}

void orva_ClassLoader_precompileSources(void* sourceFiles) {
  bridged("Exception", [sourceFiles] {
    const std::vector<std::string> files = requireStringList(sourceFiles, "Source filename list");
    const std::function<void(const Compiler::CompilationProgress&)> noListener;
    Compiler::precompileSources(files, Compiler::activeRuntimeContext(), noListener);
  });
}

/// Refuses an entry type that is registered already: raises "IllegalStateException" with the name as registered.
/// @return whether it was refused.
/// Lets the exception for an ambiguous name pass.
static bool rejectAlreadyLoadedPluginType(const char* entryType) {
  const std::optional<std::string> registered = reflectedTypeMatch(orEmpty(entryType));
  if (!registered) return false;
  Orva_raise("IllegalStateException", ("Plugin entry type is already registered: " + *registered).c_str());
  return true;
}

/// Looks up the entry type of a loaded plugin. When it is not registered, raises "ClassNotFoundException" with the name
/// as given.
/// @return its type object, null included; null after the raise.
/// Lets the exception for an ambiguous name pass.
static void* requireReflectedType(const char* entryType) {
  const std::string name(orEmpty(entryType));
  const std::optional<std::string> registered = reflectedTypeMatch(name);
  if (registered) return Orva_typeByName(registered->c_str());
  Orva_raise("ClassNotFoundException", ("Plugin entry type is not registered: " + name).c_str());
  return nullptr;
}

void* orva_ClassLoader_loadSourceClass(const char* sourceFile, const char* entryType) {
  if (isMissing(sourceFile) || isMissing(entryType)) {
    Orva_raise("ValueException", "Plugin source filename and entry type are required");
    return nullptr;
  }
  void* loadedType = nullptr;
  bridged("Exception", [&] {
    if (rejectAlreadyLoadedPluginType(entryType)) return;
    // No context: a plugin's source is not bound to the class path of the running program.
    Compiler::ensureSourceLoadedInActiveJit(sourceFile, nullptr);
    loadedType = requireReflectedType(entryType);
  });
  return loadedType;
}

void* orva_ClassLoader_loadObjectBundle(void* objectPaths, void* sourceIdentities, const char* entryType) {
  if (objectPaths == nullptr || sourceIdentities == nullptr || isMissing(entryType)) {
    Orva_raise("ValueException", "Plugin object bundle, source identities and entry type are required");
    return nullptr;
  }
  void* loadedType = nullptr;
  bridged("Exception", [&] {
    if (rejectAlreadyLoadedPluginType(entryType)) return;
    const std::vector<std::string> objects = requireStringList(objectPaths, "Plugin object path list");
    const std::vector<std::string> identities = requireStringList(sourceIdentities, "Plugin source identity list");
    if (objects.size() != identities.size()) {
      throw std::runtime_error("Plugin object and source identity lists must have the same size");
    }
    Compiler::ensureObjectBundleLoadedInActiveJit(objects, identities);
    loadedType = requireReflectedType(entryType);
  });
  return loadedType;
}

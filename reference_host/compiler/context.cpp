// The active context of the process.
#include "reference_host/compiler/context.h"

#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

#include "reference_host/compiler/ample_stack.h"
#include "reference_host/compiler/private_folder.h"
#include "reference_host/runtime/type_registry.h"

namespace orva::compiler {

/// Never destroyed: threads may still run compiled code while the process ends.
static std::shared_ptr<Context>& active() {
  static auto* const context = new std::shared_ptr<Context>();
  return *context;
}

static pid_t hostProcess = 0;

/// Tells whether this process has the threads of the host. A child that a native forked has none, and perhaps what one
/// of them held.
static bool isHostProcess() { return getpid() == hostProcess; }

void startHost(const std::string& standardLibrary) {
  active() = std::make_shared<Context>(standardLibrary);
  removeAbandonedFolders();
  hostProcess = getpid();
  std::atexit([] { isHostProcess() ? removePrivateFolderAtExit() : removePrivateFolder(); });
}

void endHostAtExit() {
  std::atexit([] {
    if (isHostProcess()) active()->loader.end();
  });
}

Context& activeContext() {
  if (active() == nullptr) throw std::logic_error("The host is not started");
  return *active();
}

std::optional<GenericInstance> Context::materialize(const std::string& typeName) {
  std::optional<GenericInstance> instance;
  onAmpleStack(typeName, [&] { instance = generics.materialize(typeName); });
  if (!instance) return instance;
  if (runtime::findTypeByFullName(instance->name) != nullptr) return instance;
  const runtime::Type* generic = runtime::findTypeByFullName(instance->name.substr(0, instance->name.find('<')));
  if (generic == nullptr) {
    loader.load(instance->genericSource, Placement::anywhere);
  } else if (isFromObject(*generic)) {
    // The object brought the classes of its file.
    loader.checkSourceOfObject(instance->genericSource, *generic);
  }
  return instance;
}

const runtime::Type* Context::findOrLoad(const std::string& fullName) {
  if (const runtime::Type* loaded = runtime::findTypeByFullName(fullName)) return loaded;
  if (fullName.find('<') != std::string::npos) {
    const auto instance = materialize(fullName);
    if (!instance) return nullptr;
    loader.load(instance->sourceFile, Placement::underRoot);
    return runtime::findTypeByFullName(instance->name);
  }
  const std::string source = classPath.find(fullName);
  if (source.empty()) return nullptr;
  loader.load(source, Placement::underRoot);
  return runtime::findTypeByFullName(fullName);
}

std::shared_ptr<Context> Compiler::activeRuntimeContext() { return active(); }

}  // namespace orva::compiler

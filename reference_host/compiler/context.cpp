// The active context of the process.
#include "reference_host/compiler/context.h"

#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

#include "reference_host/compiler/private_folder.h"
#include "reference_host/runtime/type_registry.h"

namespace orva::compiler {

/// Never destroyed: threads may still run compiled code while the process ends.
static std::shared_ptr<Context>& active() {
  static auto* const context = new std::shared_ptr<Context>();
  return *context;
}

static pid_t hostProcess = 0;

/// Tells whether this process has the threads of the host. A child that a native forked does not, but locks that they
/// held may still be locked there.
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

std::shared_ptr<Context> shareActiveContext() { return active(); }

Context& activeContext() {
  if (active() == nullptr) throw std::logic_error("The host has not been started");
  return *active();
}

const runtime::Type* Context::findOrLoad(const std::string& fullName) {
  if (const runtime::Type* loaded = runtime::findTypeByFullName(fullName)) return loaded;
  if (fullName.find('<') != std::string::npos) {
    const auto instance = generics.materialize(fullName);
    if (!instance) return nullptr;
    loader.load(instance->sourceFile, Origin::instance);
    return runtime::findTypeByFullName(instance->name);
  }
  const std::string source = classPath.find(fullName);
  if (source.empty()) return nullptr;
  loader.load(source, Origin::classPath);
  return runtime::findTypeByFullName(fullName);
}

}  // namespace orva::compiler

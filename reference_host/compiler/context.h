// The compilation context: everything that compiling and loading need.
#pragma once

#include <memory>
#include <string>

#include "reference_host/compiler/class_path.h"
#include "reference_host/compiler/engine.h"
#include "reference_host/compiler/generic_instances.h"
#include "reference_host/compiler/loader.h"
#include "reference_host/runtime/type.h"
#include "runtime_api/compiler.h"

namespace orva::compiler {

/// One context serves the whole process; threads may use it at once.
class Context {
 public:
  /// @param standardLibrary root directory of the standard library; empty when there is none.
  explicit Context(const std::string& standardLibrary)
      : classPath(standardLibrary), generics(classPath), loader(classPath, engine, generics) {}

  ClassPath classPath;
  Engine engine;
  GenericInstances generics;
  Loader loader;

  /// Finds a loaded type by its full name, or loads it: a class from its source, a generic instance from its generic
  /// class. Null when there is none. Throws `std::runtime_error` when its source cannot be loaded.
  const runtime::Type* findOrLoad(const std::string& fullName);
};

/// Creates the active context with a standard library, and removes what killed processes left in the temporary folder.
/// Call it once in a process, before using anything else of the host.
void startHost(const std::string& standardLibrary);

/// Makes `exit` block the loads of other threads until the process ends, before it destroys what LLVM has constructed
/// so far. Call it after the first load, which constructs some of that. Everything else that threads may use by then is
/// never destroyed; a test looks for objects that are.
void endHostAtExit();

/// A share of the active context; empty before the host was started.
std::shared_ptr<Context> shareActiveContext();

/// The active context. Throws `std::logic_error` before the host was started.
Context& activeContext();

}  // namespace orva::compiler

// The compilation context: everything that compiling and loading needs, put together.
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

/// Makes a context with a standard library the active one, and removes what killed processes left in the temporary
/// folder; once in a process, before anything else is asked of the host.
void startHost(const std::string& standardLibrary);

/// Has `exit` make the loads of other threads wait for the end of the process, before it destroys what LLVM has
/// constructed up to now; loading a class constructs some of that. What else threads may use at that moment is never
/// destroyed; a test looks for objects that are.
void endHostAtExit();

/// A share of the active context; empty before the host was started.
std::shared_ptr<Context> shareActiveContext();

/// The active context. Throws `std::logic_error` before the host was started.
Context& activeContext();

}  // namespace orva::compiler

// Looking a type up by name: makes sure that it can exist, then asks the runtime.
#include <memory>
#include <mutex>
#include <string>

#include "classloader/failure_bridge.h"
#include "classloader/natives.h"
#include "classloader/string_argument.h"
#include "classloader/type_names.h"
#include "runtime_api/compiler.h"
#include "runtime_api/reflection.h"
#include "runtime_api/runtime.h"

using orva::compiler::Compiler;
using orva::compiler::Context;

/// Tells whether one of a record's names compacts to the key of a generic name.
static bool spells(const TypeRecord& record, const std::string& key) {
  return compactsTo(recordName(record, 3), key) || compactsTo(recordName(record, 4), key) ||
         compactsTo(recordName(record, 1), key) || compactsTo(recordName(record, 2), key);
}

/// Tells whether the type table holds a ready record of a generic instance, whatever its spacing.
/// Throws `std::system_error` when the lock fails.
static bool isInstanceReady(const std::string& requestedName) {
  const std::string key = compactTypeName(requestedName);
  const std::lock_guard<std::mutex> lock(gReflectionMutex);
  for (const TypeRecord& record : gTypes) {
    if (isReady(record) && spells(record, key)) return true;
  }
  return false;
}

/// Has the compiler generate and load the source of a generic instance that is not there yet. Throws what the lock and
/// the compiler throw.
static void ensureGenericInstance(const std::string& requestedName) {
  if (isInstanceReady(requestedName)) return;
  std::shared_ptr<Context> context = Compiler::activeRuntimeContext();
  std::string instanceName;
  std::string sourceFile;
  if (orva::compiler::ClassLoader::materializeRuntimeGenericType(requestedName, instanceName, sourceFile, context)) {
    // An empty path is passed on too: what a true answer without a source means is the compiler's to say.
    Compiler::ensureSourceLoadedInActiveJit(sourceFile, context);
  }
}

/// Compiles the source of a class that is not registered, where the class path holds one. Throws when the name is
/// ambiguous, and what the compiler throws.
static void ensureClass(const std::string& plainName) {
  if (reflectedTypeMatch(plainName)) return;
  const std::shared_ptr<Context> context = Compiler::activeRuntimeContext();
  const std::string sourceFile = orva::compiler::ClassLoader::sourceFileForClass(plainName, context, nullptr);
  if (!sourceFile.empty()) Compiler::ensureSourceLoadedInActiveJit(sourceFile, context);
}

void* orva_ClassLoader_getTypeByName(const char* typeName) {
  if (isMissing(typeName)) return Orva_typeByName(typeName);
  const bool prepared = bridged("ClassNotFoundException", [typeName] {
    const std::string name(typeName);
    const bool opens = name.find('<') != std::string::npos;
    const bool closes = name.find('>') != std::string::npos;
    if (opens && closes) ensureGenericInstance(name);
    if (!opens) ensureClass(name);
  });
  // Outside the bridge: the runtime's own failures are not ours to convert.
  return prepared ? Orva_typeByName(typeName) : nullptr;
}

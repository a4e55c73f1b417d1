// Looking a type up by name: makes sure that it can exist, then asks the runtime.
#include <cstddef>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "classloader/failure_bridge.h"
#include "classloader/natives.h"
#include "classloader/string_argument.h"
#include "classloader/type_names.h"
#include "runtime_api/compiler.h"
#include "runtime_api/reflection.h"
#include "runtime_api/runtime.h"

using orva::compiler::Compiler;
using orva::compiler::Context;

/// Counts the bytes that two different words of 8 bytes begin with alike, without a branch that could go either way.
static std::size_t commonInWord(const char* left, const char* right) {
  std::size_t same = std::memcmp(left, right, 4) == 0 ? 4 : 0;
  same += std::memcmp(left + same, right + same, 2) == 0 ? 2 : 0;
  return same + (left[same] == right[same] ? 1 : 0);
}

/// Counts the bytes that a name and `key`, which is at most as long, begin with alike.
static std::size_t commonPrefix(std::string_view name, std::string_view key) {
  // Most names differ in the first byte; those of the key's own package begin alike.
  if (key.empty() || name.front() != key.front()) return 0;
  constexpr std::size_t wordSize = 8;
  std::size_t same = 0;
  for (; same + wordSize <= key.size(); same += wordSize) {
    if (std::memcmp(&name[same], &key[same], wordSize) != 0) return same + commonInWord(&name[same], &key[same]);
  }
  while (same < key.size() && name[same] == key[same]) ++same;
  return same;
}

/// Tells whether compacting `name` gives `key`, a compact name, and builds nothing to find out.
static bool compactsTo(std::string_view name, std::string_view key) {
  // Compacting never makes a name longer.
  while (name.size() >= key.size()) {
    // A byte of the key is not one that is dropped.
    const std::size_t same = commonPrefix(name, key);
    name.remove_prefix(same);
    key.remove_prefix(same);
    if (name.empty()) return true;
    if (!isDropped(name.front())) return false;
    name.remove_prefix(1);
  }
  return false;
}

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

static bool holds(const char* name, char bracket) { return std::strchr(name, bracket) != nullptr; }

void* orva_ClassLoader_getTypeByName(const char* typeName) {
  if (isMissing(typeName)) return Orva_typeByName(typeName);
  const bool prepared = bridged("ClassNotFoundException", [typeName] {
    // Each phase reads the name afresh, and has a copy of its own while it calls the host: a host that changes the name
    // in place while it materialises an instance decides by that whether a source is looked for.
    if (holds(typeName, '<') && holds(typeName, '>')) ensureGenericInstance(typeName);
    if (!holds(typeName, '<')) ensureClass(typeName);
  });
  // Outside the bridge: the runtime's own failures are not ours to convert.
  return prepared ? Orva_typeByName(typeName) : nullptr;
}

// Looking a type up by name: makes sure that it can exist, then asks the runtime.
#include <array>
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
#include "classloader/version_note.h"
#include "runtime_api/compiler.h"
#include "runtime_api/reflection.h"
#include "runtime_api/runtime.h"

using orva::compiler::Compiler;
using orva::compiler::Context;

/// Finds the last place at which two words of 4 bytes differ, without unpredictable branches; 0 for equal words.
static std::size_t lastDifference(const char* left, const char* right) {
  const std::size_t place = std::memcmp(left + 2, right + 2, 2) == 0 ? 1 : 3;
  return place - (left[place] == right[place] ? 1 : 0);
}

namespace {

/// The compact name of a generic type. It remembers which bytes are not whitespace, so it serves one walk only.
class CompactKey {
 public:
  explicit CompactKey(const std::string& requestedName) : key_(compactTypeName(requestedName)) {}

  /// 1 for a name that is long enough to spell this key, 0 for any other: compacting never makes a name longer.
  std::size_t fits(std::string_view name) const { return static_cast<std::size_t>(name.size() >= key_.size()); }

  /// Tells whether compacting `name` results in this key, without building anything.
  bool isSpelledBy(std::string_view name) { return !endsOtherwise(name) && isCompactOf(name); }

 private:
  /// Rejects most names by their last four bytes; false decides nothing. Names in one package share a prefix, and
  /// comparing byte by byte would mispredict a branch for most of them.
  bool endsOtherwise(std::string_view name) const {
    constexpr std::size_t wordSize = 4;
    if (key_.size() < wordSize || name.size() < wordSize) return false;
    const char* const nameEnd = name.data() + name.size() - wordSize;
    const char* const keyEnd = key_.data() + key_.size() - wordSize;
    const std::size_t place = lastDifference(nameEnd, keyEnd);
    return nameEnd[place] != keyEnd[place] && isKept_[static_cast<unsigned char>(nameEnd[place])];
  }

  bool isCompactOf(std::string_view name) {
    std::string_view rest = key_;
    while (name.size() >= rest.size()) {
      // The key contains no byte that compacting drops.
      while (!rest.empty() && name.back() == rest.back()) {
        rest.remove_suffix(1);
        name.remove_suffix(1);
      }
      if (name.empty()) return true;
      if (!isDropped(name.back())) {
        isKept_[static_cast<unsigned char>(name.back())] = true;
        return false;
      }
      name.remove_suffix(1);
    }
    return false;
  }

  const std::string key_;
  std::array<bool, 256> isKept_{};
};

}  // namespace

/// Tells whether one of a record's names compacts to the key of a generic name.
static bool spells(const TypeRecord& record, CompactKey& key) {
  return key.isSpelledBy(recordName(record, 3)) || key.isSpelledBy(recordName(record, 4)) ||
         key.isSpelledBy(recordName(record, 1)) || key.isSpelledBy(recordName(record, 2));
}

/// 1 for a record with a name that is long enough for the key, 0 for any other.
static std::size_t mayMatch(const TypeRecord& record, const CompactKey& key) {
  return key.fits(recordName(record, 1)) | key.fits(recordName(record, 2)) | key.fits(recordName(record, 3)) |
         key.fits(recordName(record, 4));
}

/// Tells whether the type table has a ready record of a generic instance, whatever its spacing.
/// Throws `std::system_error` when the lock fails.
static bool isInstanceReady(const std::string& requestedName) {
  CompactKey key(requestedName);
  const std::lock_guard<std::mutex> lock(gReflectionMutex);
  std::array<const TypeRecord*, 64> candidates{};
  for (auto record = gTypes.begin(); record != gTypes.end();) {
    // Candidates are counted, not branched on: how long one record's names are says nothing about the next.
    std::size_t count = 0;
    for (; record != gTypes.end() && count < candidates.size(); ++record) {
      if (!isReady(*record)) continue;
      candidates[count] = &*record;
      count += mayMatch(*record, key);
    }
    for (std::size_t i = 0; i < count; ++i) {
      if (spells(*candidates[i], key)) return true;
    }
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
    // An empty path is passed on too: the compiler decides what true without a source means.
    Compiler::ensureSourceLoadedInActiveJit(sourceFile, context);
  }
}

/// Compiles the source of a class that is not registered, if the class path has one. Throws when the name is ambiguous,
/// and what the compiler throws.
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
    // Each phase reads the name afresh, and calls the host with a copy of its own: a host may rewrite the name in place
    // while it materialises an instance, and the second phase then uses the new one.
    if (holds(typeName, '<') && holds(typeName, '>')) ensureGenericInstance(typeName);
    if (!holds(typeName, '<')) ensureClass(typeName);
  });
  // Outside the bridge: the runtime's own failures are not ours to convert.
  return prepared ? Orva_typeByName(typeName) : nullptr;
}

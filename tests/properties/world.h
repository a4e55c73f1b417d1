// A world: everything that determines what a native does, as plain data for the rules and for the library's host.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace model {

/// One entry of the reflection registry; an absent name is null.
struct Entry {
  std::optional<std::string> shortName;
  std::optional<std::string> fullName;
};

/// One row of the type table.
struct Record {
  std::array<std::string, 4> names;
  bool hasPointer = true;
  bool hasMembers = true;
};

enum class FileKind {
  folder,
  closedFolder,  // nobody may list it or open anything in it
  file,
  link,
  fifo,
  socket,
};

/// One file. The folders above it are implied.
struct File {
  FileKind kind = FileKind::file;
  std::string path;    // relative, without ".", ".." and doubled separators
  std::string target;  // of a link: relative to the link's folder
};

/// What the library asks of its host.
enum class Operation {
  raise,
  typeByName,            // number: of the type object, 0 for null
  allocObject,           // number: of the object, 0 for null
  listSize,              // answered from the list
  listIndex,             // answered from the list
  typeCount,             // answered from the registry
  typeName,              // answered from the registry
  typeFullName,          // answered from the registry
  objectAbiVersion,      // number: the version
  activeRuntimeContext,  // number: 1 for the active one, 0 for none
  load,
  loadBundle,
  precompile,
  getInstance,
  standardLibraryPath,  // text: the path
  getKlassPaths,        // answered from the roots
  addKlassPath,         // number: 1 when it adds the root, 0 when it refuses
  sourceFileForClass,   // text: the path
  materialize,          // number: 1 for yes, 2 for yes and with another context, 0 for no; text: the source
  invalidateCaches,
  isValidPackageName,  // number: 1 for yes, 0 for no
};
constexpr std::size_t operationCount = static_cast<std::size_t>(Operation::isValidPackageName) + 1;

/// How many objects the host has, including null, which is number 0.
constexpr int64_t objectCount = 64;

enum class Ending { returns, throwsException, throwsOther };

/// What one call of an operation does: it adds to the registry and the type table, then returns or throws.
struct Answer {
  Ending ending = Ending::returns;
  int64_t number = 1;
  std::string text;  // of the object, when it throws one
  std::vector<Entry> entries;
  std::vector<Record> records;
};

struct World {
  std::vector<Entry> registry;
  std::optional<int32_t> count;  // the size that the registry claims, if not its real one
  std::vector<Record> table;
  std::vector<std::string> roots;
  std::vector<File> files;

  // The answers to the next calls of each operation; the last one repeats.
  std::array<std::vector<Answer>, operationCount> answers;

  // Errors of the system, by number; 0 for none.
  int lockError = 0;
  int openingError = 0;
  int readingError = 0;
  int readingsUntilError = 0;  // 1 for the next read of a directory entry
  bool typesHidden = false;    // whether directories list their entries without types

  // What the library itself remembers for the life of the process. Only a process in which the library has this state
  // can play a call that reads it.
  int64_t systemClassLoader = 0;
  bool metadataLoaded = false;
};

/// A language list.
struct List {
  std::vector<std::optional<std::string>> elements;
  std::optional<int64_t> size;  // the size that it claims, if not its real one; elements beyond are null
};

enum class Native {
  objectAbiVersion,
  getSystem,
  getTypeByName,
  addSourceRoot,
  precompileSources,
  loadSourceClass,
  loadObjectBundle,
  loadClass,
  loadPackageTypes,
};
constexpr std::size_t nativeCount = static_cast<std::size_t>(Native::loadPackageTypes) + 1;

/// A call of a native; members that the native does not use are ignored.
struct Call {
  Native native = Native::objectAbiVersion;
  std::optional<std::string> name;        // type, class or package name, entry type, or root
  std::optional<std::string> sourceFile;  // of a plugin
  std::optional<List> files;              // sources or object paths
  std::optional<List> identities;
};

/// What a call did.
struct Outcome {
  std::vector<std::string> calls;  // into the host, in order, raises included
  std::string result;              // what it returned or threw
  bool ownPointer = false;         // whether the last type lookup got the caller's own pointer
};

inline bool operator==(const Outcome& one, const Outcome& other) {
  return one.calls == other.calls && one.result == other.result && one.ownPointer == other.ownPointer;
}

inline std::vector<Answer>& answersOf(World& world, Operation operation) {
  return world.answers[static_cast<std::size_t>(operation)];
}
inline const std::vector<Answer>& answersOf(const World& world, Operation operation) {
  return world.answers[static_cast<std::size_t>(operation)];
}

/// Takes the answer to the next call of an operation, and adds its entries to the registry and the type table.
Answer take(World& world, Operation operation);

/// The entry at an index; without names if there is none.
Entry entryAt(const World& world, int32_t index);

/// The size that the registry claims.
int32_t countOf(const World& world);

/// The size that a list claims.
int64_t sizeOf(const List& list);

/// The element at an index; null if there is none.
std::optional<std::string> elementAt(const List& list, int64_t index);

}  // namespace model

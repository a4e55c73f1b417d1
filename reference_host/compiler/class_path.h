// The class path: where the compiler looks for the source of a class.
#pragma once

#include <sys/types.h>

#include <deque>
#include <filesystem>
#include <map>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace orva::compiler {

/// The roots in search order, and the standard library, which is searched last and is not one of them. Searches are not
/// cached, because files come and go while programs run.
/// Several threads may use one object at once.
class ClassPath {
 public:
  /// @param standardLibrary root directory of the standard library; empty when there is none.
  explicit ClassPath(std::string standardLibrary);

  const std::string& standardLibrary() const { return standardLibrary_; }

  /// The roots. A returned list stays valid and unchanged when a root is added.
  const std::vector<std::string>& roots() const;

  /// Adds a root after the others.
  /// @return false when it is not a directory, or is a root already under this or another spelling.
  /// Throws `std::runtime_error` when the root cannot be examined or may not be searched.
  bool add(const std::string& root);

  /// Finds the source file of class `a.b.C`, which is ROOT/a/b/C.ov.
  /// @return its path; empty when there is none or the name is not a qualified name.
  /// Throws `std::runtime_error` when no root has the class, and a folder on the way may not be searched or something
  /// other than a regular file is in its place.
  std::string find(const std::string& className) const;

  /// The packages that a file may declare: one for each root above it, the innermost root's first, however the file and
  /// the root are spelled.
  std::vector<std::string> packagesOf(const std::string& file) const;

 private:
  using Identity = std::pair<dev_t, ino_t>;

  bool isRoot(const std::string& directory, const Identity& identity) const;
  void addDirectory(const std::string& root);

  /// The folder of a file below the real name of each root on the file's path; if there is none, the file's own folder.
  std::vector<std::filesystem::path> realFoldersOf(const std::string& file) const;

  const std::string standardLibrary_;
  mutable std::shared_mutex mutex_;
  mutable bool isHandedOut_ = false;            // the last list was returned, so it is copied before it changes
  std::deque<std::vector<std::string>> lists_;  // those that were returned, and the current one
  std::unordered_set<std::string> spellings_;   // of the roots
  std::map<Identity, std::string> identities_;  // what the roots were when they were added
  // The real names of the roots and the standard library, each looked up once, by their spellings without needless
  // dots.
  std::unordered_map<std::string, std::string> directories_;
  std::unordered_set<std::string> realNames_;
};

}  // namespace orva::compiler

// The class path: where the source of a class is looked for.
#pragma once

#include <atomic>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace orva::compiler {

/// The roots in search order, and the standard library, which is searched last and is not one of them.
/// Threads may use one object at once.
class ClassPath {
 public:
  /// @param standardLibrary root directory of the standard library; empty when there is none.
  explicit ClassPath(std::string standardLibrary);

  const std::string& standardLibrary() const { return standardLibrary_; }

  /// The roots. Lists handed out stay valid and unchanged when a root is added.
  const std::vector<std::string>& roots() const { return *current_.load(); }

  /// Adds a root behind the others.
  /// @return false when it is not a directory, or is a root already under this or another spelling.
  bool add(const std::string& root);

  /// Finds the source file of class `a.b.C`, which is ROOT/a/b/C.ov. Hits and misses are remembered.
  /// @return its path; empty when there is none or the name is no qualified name.
  std::string find(const std::string& className);

  /// Forgets hits and misses.
  void dropCaches();

  /// The package that a file must declare because of the root that it lies under; nothing when it lies under none.
  std::optional<std::string> packageOf(const std::string& file) const;

 private:
  std::string search(const std::string& className) const;

  const std::string standardLibrary_;
  mutable std::mutex mutex_;
  std::deque<std::vector<std::string>> lists_;  // every list that was ever current
  std::atomic<const std::vector<std::string>*> current_;
  std::unordered_map<std::string, std::string> cache_;
  std::unordered_set<std::string> directories_;  // of the roots and the standard library, without needless dots
};

}  // namespace orva::compiler

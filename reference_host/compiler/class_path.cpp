// Searching the roots in order, and remembering what was found.
#include "reference_host/compiler/class_path.h"

#include <llvm/Support/FileSystem.h>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "reference_host/language/lexer.h"

namespace orva::compiler {

namespace fs = std::filesystem;

/// The spelling of a directory without needless dots and slashes.
static std::string normalised(const std::string& directory) {
  const fs::path normal = fs::path(directory).lexically_normal();
  return (normal.has_filename() ? normal : normal.parent_path()).string();
}

ClassPath::ClassPath(std::string standardLibrary)
    : standardLibrary_(std::move(standardLibrary)), lists_(1), current_(&lists_.back()) {
  if (!standardLibrary_.empty()) directories_.insert(normalised(standardLibrary_));
}

static bool areSameDirectory(const std::string& left, const std::string& right) {
  std::error_code error;
  return left == right || fs::equivalent(left, right, error);
}

bool ClassPath::add(const std::string& root) {
  std::error_code error;
  if (!fs::is_directory(root, error)) return false;
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto isRoot = [&](const std::string& known) { return areSameDirectory(known, root); };
  if (std::any_of(roots().begin(), roots().end(), isRoot)) return false;
  std::vector<std::string>& extended = lists_.emplace_back(roots());
  extended.push_back(root);
  directories_.insert(normalised(root));
  current_ = &extended;
  return true;
}

/// The path of a file below a root; empty when there is no such file.
static std::string fileBelow(const std::string& root, const std::string& relative) {
  std::string file = root + (root.back() == '/' ? "" : "/") + relative;
  return llvm::sys::fs::is_regular_file(file) ? file : std::string();
}

std::string ClassPath::search(const std::string& className) const {
  if (!language::isQualifiedName(className)) return {};
  std::string relative = className + ".ov";
  std::replace(relative.begin(), relative.end() - 3, '.', '/');
  for (const std::string& root : roots()) {
    std::string file = fileBelow(root, relative);
    if (!file.empty()) return file;
  }
  return standardLibrary_.empty() ? std::string() : fileBelow(standardLibrary_, relative);
}

std::string ClassPath::find(const std::string& className) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto known = cache_.find(className);
  if (known != cache_.end()) return known->second;
  return cache_.emplace(className, search(className)).first->second;
}

void ClassPath::dropCaches() {
  const std::lock_guard<std::mutex> lock(mutex_);
  cache_.clear();
}

std::optional<std::string> ClassPath::packageOf(const std::string& file) const {
  const fs::path directory = fs::path(file).lexically_normal().parent_path();
  const std::lock_guard<std::mutex> lock(mutex_);
  // Roots may lie inside each other; the innermost one decides.
  for (fs::path root = directory;; root = root.parent_path()) {
    if (directories_.count(root.empty() ? "." : root.string()) != 0) {
      const fs::path relative = directory.lexically_relative(root);
      std::string package = relative == "." ? "" : relative.string();
      std::replace(package.begin(), package.end(), '/', '.');
      return package;
    }
    // What lies above `..` cannot be told from the path.
    if (root.filename() == ".." || root == root.parent_path()) return std::nullopt;
  }
}

}  // namespace orva::compiler

// Searching the roots in order, and remembering what was found.
#include "reference_host/compiler/class_path.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "reference_host/language/lexer.h"

namespace orva::compiler {

namespace fs = std::filesystem;

ClassPath::ClassPath(std::string standardLibrary)
    : standardLibrary_(std::move(standardLibrary)), lists_(1), current_(&lists_.back()) {}

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
  current_ = &extended;
  return true;
}

std::vector<std::string> ClassPath::searched() const {
  std::vector<std::string> all = roots();
  if (!standardLibrary_.empty()) all.push_back(standardLibrary_);
  return all;
}

std::string ClassPath::search(const std::string& className) const {
  if (!language::isQualifiedName(className)) return {};
  std::string relative = className;
  std::replace(relative.begin(), relative.end(), '.', '/');
  for (const std::string& root : searched()) {
    const fs::path file = fs::path(root) / (relative + ".ov");
    std::error_code error;
    if (fs::is_regular_file(file, error)) return file.string();
  }
  return {};
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
  std::optional<std::string> package;
  for (const std::string& root : searched()) {
    const fs::path relative = directory.lexically_relative((fs::path(root) / "").lexically_normal().parent_path());
    if (relative.empty() || *relative.begin() == "..") continue;
    std::string name = relative == "." ? "" : relative.string();
    std::replace(name.begin(), name.end(), '/', '.');
    // Roots may lie inside each other; the innermost one decides.
    if (!package || name.size() < package->size()) package = std::move(name);
  }
  return package;
}

}  // namespace orva::compiler

// Searching the roots in order.
#include "reference_host/compiler/class_path.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "reference_host/language/lexer.h"
#include "reference_host/language/printable_text.h"

namespace orva::compiler {

using language::inQuotes;

namespace fs = std::filesystem;

/// The spelling of a directory without needless dots and slashes.
static std::string normalised(const std::string& directory) {
  const fs::path normal = fs::path(directory).lexically_normal();
  return (normal.has_filename() ? normal : normal.parent_path()).string();
}

/// The canonical name of a directory. Returns its spelling if it is missing, or if the working directory is so deep
/// that it has no name itself.
static std::string realName(const std::string& directory) {
  std::error_code error;
  const fs::path real = fs::canonical(directory.empty() ? "." : directory, error);
  return normalised(error ? directory : real.string());
}

ClassPath::ClassPath(std::string standardLibrary) : standardLibrary_(std::move(standardLibrary)), lists_(1) {
  if (!standardLibrary_.empty()) addDirectory(standardLibrary_);
}

void ClassPath::addDirectory(const std::string& root) {
  const std::string real = realName(root);
  realNames_.insert(real);
  directories_.emplace(normalised(root), real);
}

const std::vector<std::string>& ClassPath::roots() const {
  const std::lock_guard<std::shared_mutex> lock(mutex_);
  isHandedOut_ = true;
  return lists_.back();
}

/// Asks the system what a path leads to; if nothing is there, the mode is 0.
/// @return why the system cannot tell, if it cannot.
static std::error_code examine(const std::string& path, struct stat& status) {
  status = {};
  if (stat(path.c_str(), &status) == 0) return {};
  // No file can have a name that is too long.
  if (errno == ENOENT || errno == ENOTDIR || errno == ENAMETOOLONG) return {};
  return {errno, std::generic_category()};
}

bool ClassPath::isRoot(const std::string& directory, const Identity& identity) const {
  if (spellings_.count(directory) != 0) return true;
  const auto known = identities_.find(identity);
  if (known == identities_.end()) return false;
  // That root may be gone, and another directory may have its inode now.
  struct stat status{};
  return !examine(known->second, status) && Identity(status.st_dev, status.st_ino) == identity;
}

bool ClassPath::add(const std::string& root) {
  struct stat status{};
  std::error_code error = examine(root, status);
  if (S_ISDIR(status.st_mode) && faccessat(AT_FDCWD, root.c_str(), X_OK, AT_EACCESS) != 0)
    error.assign(errno, std::generic_category());
  if (error) {
    throw std::runtime_error("Cannot open the class path root " + inQuotes(root) + ": " + error.message());
  }
  if (!S_ISDIR(status.st_mode)) return false;
  const Identity identity(status.st_dev, status.st_ino);
  const std::lock_guard<std::shared_mutex> lock(mutex_);
  if (isRoot(root, identity)) return false;
  if (isHandedOut_) lists_.emplace_back(lists_.back());
  isHandedOut_ = false;
  lists_.back().push_back(root);
  spellings_.insert(root);
  identities_[identity] = root;
  addDirectory(root);
  return true;
}

std::string ClassPath::find(const std::string& className) const {
  if (!language::isQualifiedName(className)) return {};
  std::string relative = className + ".ov";
  std::replace(relative.begin(), relative.end() - 3, '.', '/');
  std::string file;
  std::string failure;
  const auto isBelow = [&](const std::string& root) {
    file.assign(root).append(root.back() == '/' ? "" : "/").append(relative);
    struct stat status{};
    const std::error_code error = examine(file, status);
    const bool isOther = status.st_mode != 0 && !S_ISREG(status.st_mode);
    if (failure.empty() && (error || isOther)) {
      failure = inQuotes(file) + ": " + (error ? error.message() : "expected a regular file");
    }
    return S_ISREG(status.st_mode);
  };
  const std::shared_lock<std::shared_mutex> lock(mutex_);
  const std::vector<std::string>& roots = lists_.back();
  if (std::any_of(roots.begin(), roots.end(), isBelow)) return file;
  if (!standardLibrary_.empty() && isBelow(standardLibrary_)) return file;
  if (failure.empty()) return {};
  throw std::runtime_error("Cannot search for class '" + className + "' at " + failure);
}

/// Visits a folder and those above it, the innermost first. A path does not say what is above `..`.
template <typename Visit>
static void walkUp(const fs::path& folder, const Visit& visit) {
  for (fs::path above = folder;; above = above.parent_path()) {
    visit(above.empty() ? "." : above.string(), folder.lexically_relative(above));
    if (above.filename() == ".." || above == above.parent_path()) return;
  }
}

std::vector<fs::path> ClassPath::realFoldersOf(const std::string& file) const {
  const fs::path folder = fs::path(file).lexically_normal().parent_path();
  std::vector<fs::path> folders;
  walkUp(folder, [&](const std::string& above, const fs::path& rest) {
    const auto root = directories_.find(above);
    // A link below the root keeps its name, because the class is found by that name.
    if (root != directories_.end()) folders.emplace_back(normalised((fs::path(root->second) / rest).string()));
  });
  if (folders.empty()) folders.emplace_back(realName(folder.string()));
  return folders;
}

std::vector<std::string> ClassPath::packagesOf(const std::string& file) const {
  std::vector<std::string> packages;
  const std::shared_lock<std::shared_mutex> lock(mutex_);
  for (const fs::path& folder : realFoldersOf(file)) {
    walkUp(folder, [&](const std::string& above, const fs::path& rest) {
      if (realNames_.count(above) == 0) return;
      std::string package = rest == "." ? "" : rest.string();
      std::replace(package.begin(), package.end(), '/', '.');
      if (std::find(packages.begin(), packages.end(), package) == packages.end()) packages.push_back(package);
    });
  }
  const auto isInner = [](const std::string& one, const std::string& other) {
    return std::pair(one.size(), one) < std::pair(other.size(), other);
  };
  std::sort(packages.begin(), packages.end(), isInner);
  return packages;
}

}  // namespace orva::compiler

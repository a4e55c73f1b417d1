// Follows paths through the files of a world.
#include "file_rules.h"

#include <optional>
#include <set>
#include <sstream>

namespace model {

static constexpr int mostLinks = 40;

static std::string below(const std::string& folder, const std::string& name) {
  return folder.empty() || folder == "/" ? folder + name : folder + '/' + name;
}

static std::string parentOf(const std::string& place) {
  const std::string::size_type slash = place.rfind('/');
  return slash == std::string::npos ? "" : place.substr(0, slash);
}

static bool isBelow(const std::string& path, const std::string& folder) {
  return path.compare(0, folder.size() + 1, folder + '/') == 0;
}

/// The file at a place, or the folder that a file below it implies.
static std::optional<File> fileAt(const World& world, const std::string& place) {
  if (place.empty() || place == "/") return File{FileKind::folder, place, ""};
  std::optional<File> implied;
  for (const File& file : world.files) {
    if (file.path == place) return file;
    if (isBelow(file.path, place)) implied = File{FileKind::folder, place, ""};
  }
  return implied;
}

static std::optional<File> followed(const World& world, const std::string& start, const std::string& path, int links);

/// What a name in a folder leads to.
static std::optional<File> lookedUp(const World& world, const File& folder, const std::string& name, int links) {
  if (folder.kind != FileKind::folder) return std::nullopt;
  if (name == ".") return folder;
  if (name == "..") return fileAt(world, parentOf(folder.path));
  std::optional<File> file = fileAt(world, below(folder.path, name));
  if (!file || file->kind != FileKind::link) return file;
  if (links == 0) return std::nullopt;
  return followed(world, folder.path, file->target, links - 1);
}

/// What a path leads to from a place, following links; nothing if it leads nowhere.
static std::optional<File> followed(const World& world, const std::string& start, const std::string& path, int links) {
  if (path.empty()) return std::nullopt;
  std::optional<File> file = fileAt(world, path.front() == '/' ? "/" : start);
  std::istringstream names(path);
  for (std::string name; file && std::getline(names, name, '/');) {
    if (!name.empty()) file = lookedUp(world, *file, name, links);
  }
  const bool asksForFolder = path.back() == '/';
  if (file && asksForFolder && file->kind != FileKind::folder && file->kind != FileKind::closedFolder) return {};
  return file;
}

static std::optional<FileKind> kindOf(const World& world, const std::string& path) {
  const std::optional<File> file = followed(world, "", path, mostLinks);
  return file ? std::optional(file->kind) : std::nullopt;
}

/// Tells whether a file allows another: only folders have files below them.
static bool allows(const File& file, const File& other) {
  if (file.kind == FileKind::folder || file.kind == FileKind::closedFolder) return true;
  return !isBelow(other.path, file.path);
}

bool fitTogether(const File& one, const File& other) {
  return one.path != other.path && allows(one, other) && allows(other, one);
}

std::string joinedPaths(const std::string& first, const std::string& second) {
  if (!second.empty() && second.front() == '/') return second;
  return first.empty() || first.back() == '/' ? first + second : first + '/' + second;
}

bool isFolder(const World& world, const std::string& path) {
  const std::optional<FileKind> kind = kindOf(world, path);
  return kind == FileKind::folder || kind == FileKind::closedFolder;
}

bool isRegularFile(const World& world, const std::string& path) { return kindOf(world, path) == FileKind::file; }

bool isListable(const World& world, const std::string& path) { return kindOf(world, path) == FileKind::folder; }

std::vector<std::string> namesIn(const World& world, const std::string& path) {
  const std::optional<File> folder = followed(world, "", path, mostLinks);
  if (!folder) return {};
  const std::string prefix = joinedPaths(folder->path, "");
  std::set<std::string> names;
  for (const File& file : world.files) {
    if (file.path.compare(0, prefix.size(), prefix) != 0) continue;
    names.insert(file.path.substr(prefix.size(), file.path.find('/', prefix.size()) - prefix.size()));
  }
  return {names.begin(), names.end()};
}

}  // namespace model

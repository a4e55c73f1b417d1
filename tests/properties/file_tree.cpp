// Creates the files of worlds, and keeps them for the next world with the same files.
#include "file_tree.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

namespace fs = std::filesystem;

namespace model {

namespace {

class Tree {
 public:
  explicit Tree(const std::vector<File>& files) : files_(files) {
    for (const File& file : files) make(file);
    setRights(fs::perms::none);
  }

  ~Tree() { setRights(fs::perms::owner_all); }

  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;

  std::string path() const { return folder_.path(); }

 private:
  void make(const File& file) const {
    switch (file.kind) {
      case FileKind::file: folder_.file(file.path); break;
      case FileKind::link: folder_.link(file.path, file.target); break;
      case FileKind::fifo: folder_.fifo(file.path); break;
      case FileKind::socket: folder_.socket(file.path); break;
      default: folder_.folder(file.path);
    }
  }

  void setRights(fs::perms rights) const {
    for (const File& file : files_) {
      std::error_code ignored;
      if (file.kind == FileKind::closedFolder) fs::permissions(folder_.path(file.path), rights, ignored);
    }
  }

  TemporaryFolder folder_;
  std::vector<File> files_;
};

}  // namespace

// Enough for all small worlds; random worlds rarely use a tree again.
static constexpr std::size_t mostTrees = 8192;

static std::string keyOf(const std::vector<File>& files) {
  std::string key;
  for (const File& file : files) {
    key += std::to_string(static_cast<int>(file.kind)) + file.path + '\0' + file.target + '\0';
  }
  return key;
}

static const Tree& treeOf(const World& world) {
  static std::map<std::string, std::unique_ptr<Tree>> trees;
  if (trees.size() >= mostTrees) trees.clear();
  std::unique_ptr<Tree>& tree = trees[keyOf(world.files)];
  if (!tree) tree = std::make_unique<Tree>(world.files);
  return *tree;
}

static bool hasClosedFolder(const World& world) {
  const auto isClosed = [](const File& file) { return file.kind == FileKind::closedFolder; };
  return std::any_of(world.files.begin(), world.files.end(), isClosed);
}

InFilesOf::InFilesOf(const World& world) : before_(open(".", O_PATH | O_DIRECTORY | O_CLOEXEC)) {
  const Tree& tree = treeOf(world);
  if (before_ < 0 || chdir(tree.path().c_str()) != 0) throw std::runtime_error("cannot enter " + tree.path());
  if (hasClosedFolder(world)) rights_.emplace();
}

InFilesOf::~InFilesOf() {
  rights_.reset();
  if (fchdir(before_) != 0) std::terminate();
  close(before_);
}

}  // namespace model

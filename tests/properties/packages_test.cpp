// Packages and roots: every small class path, package name and folder.
#include <cerrno>
#include <cstddef>

#include "small_worlds.h"

using namespace model;

namespace {

class Packages : public SmallWorlds {};

}  // namespace

/// What may be at the place where a package is searched for under a root.
static std::vector<std::vector<File>> everyPlace(const std::string& place) {
  const auto at = [&](FileKind kind, const std::string& target = "") { return File{kind, place, target}; };
  const File source{FileKind::file, place + "/S.ov", ""};
  const File elsewhere{FileKind::file, place + ".real/R.ov", ""};
  const File file{FileKind::file, place + ".file", ""};
  return {{},
          {source},
          {at(FileKind::folder)},
          {at(FileKind::file)},
          {elsewhere, at(FileKind::link, "b.real")},
          {file, at(FileKind::link, "b.file")},
          {at(FileKind::link, "nowhere")},
          {at(FileKind::link, "b")},
          {at(FileKind::fifo)},
          {at(FileKind::socket)},
          {source, at(FileKind::closedFolder)}};
}

/// Adds a root of this kind: one for each of the places above, one that is a file, and one with a closed folder.
static void addRoot(World& world, std::size_t kind) {
  const std::string root = "r" + std::to_string(world.roots.size());
  world.roots.push_back(root);
  const std::vector<std::vector<File>> places = everyPlace(root + "/a/b");
  if (kind < places.size()) {
    world.files.insert(world.files.end(), places[kind].begin(), places[kind].end());
  } else if (kind == places.size()) {
    world.files.push_back({FileKind::file, root, ""});
  } else {
    world.files.push_back({FileKind::file, root + "/a/b/S.ov", ""});
    world.files.push_back({FileKind::closedFolder, root + "/a", ""});
  }
}

static std::vector<std::size_t> kindsOfRoot() {
  std::vector<std::size_t> kinds(everyPlace("").size() + 2);
  for (std::size_t kind = 0; kind < kinds.size(); ++kind) kinds[kind] = kind;
  return kinds;
}

TEST_F(Packages, EveryClassPathIsSearched) {
  forEachSequence(kindsOfRoot(), 3, [&](const std::vector<std::size_t>& kinds) {
    World world;
    for (const std::size_t kind : kinds) addRoot(world, kind);
    for (const char* package : {"a.b", "a..b.", "b"}) play(world, {loadPackageTypes(package)});
  });
}

TEST_F(Packages, EveryPackageNameIsAPath) {
  World world;
  world.files = {{FileKind::file, "r/S.ov", ""},       {FileKind::file, "r/a/A.ov", ""},
                 {FileKind::file, "r/a/a/AA.ov", ""},  {FileKind::file, "r/ /blank.ov", ""},
                 {FileKind::link, "r/ / ", "../../r"}, {FileKind::file, "r/a/a/a/AAA.ov", ""}};
  for (const std::vector<std::string>& roots :
       std::vector<std::vector<std::string>>{{"r"}, {"r/"}, {"x", "r//a"}, {"", "./r/../r"}}) {
    world.roots = roots;
    play(world, {loadPackageTypes(std::nullopt)});
    for (const std::string& package : everyText("a./ ", 6)) play(world, {loadPackageTypes(package)});
  }
}

/// Every name of an entry, with every kind that it may have.
static std::vector<File> everyEntry() {
  std::vector<File> entries;
  for (const char* name : {"A.ov", "a.ov", "A_B.ov", "x.OV", ".ov", "..ov", "x.y.ov", "x.ov.bak", "ov", "x.ov "}) {
    const std::string path = std::string("r/a/") + name;
    for (const FileKind kind : {FileKind::file, FileKind::folder}) entries.push_back({kind, path, ""});
    for (const char* target : {"../file", "../folder", "nowhere"}) entries.push_back({FileKind::link, path, target});
  }
  for (const FileKind kind : {FileKind::fifo, FileKind::socket, FileKind::closedFolder}) {
    entries.push_back({kind, "r/a/S.ov", ""});
  }
  return entries;
}

TEST_F(Packages, EveryFolderIsListed) {
  forEachSequence(everyEntry(), 2, [&](const std::vector<File>& entries) {
    if (entries.size() == 2 && entries[0].path >= entries[1].path) return;
    World world;
    world.roots = {"r"};
    world.files = {{FileKind::file, "r/file", ""}, {FileKind::folder, "r/folder", ""}, {FileKind::folder, "r/a", ""}};
    world.files.insert(world.files.end(), entries.begin(), entries.end());
    play(world, {loadPackageTypes("a")});
    world.typesHidden = true;
    play(world, {loadPackageTypes("a")});
  });
}

/// Tries every set of sources, so that the order is checked however the file system lists them.
TEST_F(Packages, EverySetOfSourcesIsSorted) {
  const std::vector<std::string> names{"A", "A_B", "a", "b", "A.b", "\xC3\xA9", "A ", "0"};
  for (std::size_t set = 0; set < std::size_t{1} << names.size(); ++set) {
    World world;
    world.roots = {"r"};
    world.files = {{FileKind::folder, "r/a", ""}};
    for (std::size_t index = names.size(); index-- > 0;) {
      if ((set >> index & 1U) != 0) world.files.push_back({FileKind::file, "r/a/" + names[index] + ".ov", ""});
    }
    play(world, {loadPackageTypes("a")});
  }
}

TEST_F(Packages, EveryErrorOfAListingIsReported) {
  for (std::size_t sources = 0; sources <= 3; ++sources) {
    World world;
    world.roots = {"r", "s"};
    world.files = {{FileKind::folder, "r/a", ""}, {FileKind::file, "s/a/S.ov", ""}};
    for (std::size_t index = 0; index < sources; ++index) {
      world.files.push_back({FileKind::file, "r/a/" + std::to_string(index) + ".ov", ""});
    }
    for (const int error : {EIO, EMFILE, ENOENT, EACCES}) {
      world.openingError = error;
      play(world, {loadPackageTypes("a")});
      World closed = world;
      closed.files.push_back({FileKind::closedFolder, "r/a/in", ""});
      play(closed, {loadPackageTypes("a.in")});
    }
    world.openingError = 0;
    for (world.readingsUntilError = 1; world.readingsUntilError <= 8; ++world.readingsUntilError) {
      for (const int error : {EIO, EBADF}) {
        world.readingError = error;
        for (const char* package : {"a", ".a."}) play(world, {loadPackageTypes(package)});
      }
    }
  }
}

TEST_F(Packages, EveryRootIsAddedOrRefused) {
  World world;
  world.files = {{FileKind::folder, "d", ""},       {FileKind::file, "f", ""},      {FileKind::link, "l", "d"},
                 {FileKind::link, "dangling", "x"}, {FileKind::fifo, "p", ""},      {FileKind::socket, "s", ""},
                 {FileKind::link, "g", "f"},        {FileKind::folder, "c/in", ""}, {FileKind::closedFolder, "c", ""}};
  std::vector<std::string> roots;
  for (const std::string& root : everyText("dfl/. ", 4)) {
    // Whatever is above the files is not part of the world.
    if (root.compare(0, 2, "..") != 0 && root.find("/..") == std::string::npos) roots.push_back(root);
  }
  for (const char* root : {"dangling", "p", "s", "g", "c", "c/", "c/in", "c/.", "d/../d", "missing/../d"}) {
    roots.emplace_back(root);
  }
  for (const int64_t added : {0, 1}) {
    answersOf(world, Operation::addKlassPath) = {returning(added)};
    play(world, {addSourceRoot(std::nullopt)});
    for (const std::string& root : roots) play(world, {addSourceRoot(root)});
  }
}

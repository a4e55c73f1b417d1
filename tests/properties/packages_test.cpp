// Packages and roots: every small class path, package name and folder.
#include <cerrno>
#include <cstddef>

#include "small_worlds.h"

using namespace model;

namespace {

class Packages : public SmallWorlds {};

/// What may stand where a package is looked for under a root.
std::vector<std::vector<File>> everyPlace(const std::string& place) {
  const auto at = [&](FileKind kind, const std::string& target = "") { return File{kind, place, target}; };
  const File source{FileKind::kFile, place + "/S.ov", ""};
  const File elsewhere{FileKind::kFile, place + ".real/R.ov", ""};
  const File file{FileKind::kFile, place + ".file", ""};
  return {{},
          {source},
          {at(FileKind::kFolder)},
          {at(FileKind::kFile)},
          {elsewhere, at(FileKind::kLink, "b.real")},
          {file, at(FileKind::kLink, "b.file")},
          {at(FileKind::kLink, "nowhere")},
          {at(FileKind::kLink, "b")},
          {at(FileKind::kFifo)},
          {at(FileKind::kSocket)},
          {source, at(FileKind::kClosedFolder)}};
}

/// Appends everything that may stand at a root: the places of the package, and a root that is no open folder.
void addRoot(World& world, std::size_t kind) {
  const std::string root = "r" + std::to_string(world.roots.size());
  world.roots.push_back(root);
  const std::vector<std::vector<File>> places = everyPlace(root + "/a/b");
  if (kind < places.size()) {
    world.files.insert(world.files.end(), places[kind].begin(), places[kind].end());
  } else if (kind == places.size()) {
    world.files.push_back({FileKind::kFile, root, ""});
  } else {
    world.files.push_back({FileKind::kFile, root + "/a/b/S.ov", ""});
    world.files.push_back({FileKind::kClosedFolder, root + "/a", ""});
  }
}

std::vector<std::size_t> kindsOfRoot() {
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
  world.files = {{FileKind::kFile, "r/S.ov", ""},       {FileKind::kFile, "r/a/A.ov", ""},
                 {FileKind::kFile, "r/a/a/AA.ov", ""},  {FileKind::kFile, "r/ /blank.ov", ""},
                 {FileKind::kLink, "r/ / ", "../../r"}, {FileKind::kFile, "r/a/a/a/AAA.ov", ""}};
  for (const std::vector<std::string>& roots :
       std::vector<std::vector<std::string>>{{"r"}, {"r/"}, {"x", "r//a"}, {"", "./r/../r"}}) {
    world.roots = roots;
    play(world, {loadPackageTypes(std::nullopt)});
    for (const std::string& package : everyText("a./ ", 6)) play(world, {loadPackageTypes(package)});
  }
}

/// Every name of an entry with every kind that it may have.
std::vector<File> everyEntry() {
  std::vector<File> entries;
  for (const char* name : {"A.ov", "a.ov", "A_B.ov", "x.OV", ".ov", "..ov", "x.y.ov", "x.ov.bak", "ov", "x.ov "}) {
    const std::string path = std::string("r/a/") + name;
    for (const FileKind kind : {FileKind::kFile, FileKind::kFolder}) entries.push_back({kind, path, ""});
    for (const char* target : {"../file", "../folder", "nowhere"}) entries.push_back({FileKind::kLink, path, target});
  }
  for (const FileKind kind : {FileKind::kFifo, FileKind::kSocket, FileKind::kClosedFolder}) {
    entries.push_back({kind, "r/a/S.ov", ""});
  }
  return entries;
}

TEST_F(Packages, EveryFolderIsListed) {
  forEachSequence(everyEntry(), 2, [&](const std::vector<File>& entries) {
    if (entries.size() == 2 && entries[0].path >= entries[1].path) return;
    World world;
    world.roots = {"r"};
    world.files = {
        {FileKind::kFile, "r/file", ""}, {FileKind::kFolder, "r/folder", ""}, {FileKind::kFolder, "r/a", ""}};
    world.files.insert(world.files.end(), entries.begin(), entries.end());
    play(world, {loadPackageTypes("a")});
    world.typesHidden = true;
    play(world, {loadPackageTypes("a")});
  });
}

/// Every set of sources, so that the order of names is seen however the file system lists them.
TEST_F(Packages, EverySetOfSourcesIsSorted) {
  const std::vector<std::string> names{"A", "A_B", "a", "b", "A.b", "\xC3\xA9", "A ", "0"};
  for (std::size_t set = 0; set < std::size_t{1} << names.size(); ++set) {
    World world;
    world.roots = {"r"};
    world.files = {{FileKind::kFolder, "r/a", ""}};
    for (std::size_t index = names.size(); index-- > 0;) {
      if ((set >> index & 1U) != 0) world.files.push_back({FileKind::kFile, "r/a/" + names[index] + ".ov", ""});
    }
    play(world, {loadPackageTypes("a")});
  }
}

TEST_F(Packages, EveryErrorOfAListingIsTold) {
  for (std::size_t sources = 0; sources <= 3; ++sources) {
    World world;
    world.roots = {"r", "s"};
    world.files = {{FileKind::kFolder, "r/a", ""}, {FileKind::kFile, "s/a/S.ov", ""}};
    for (std::size_t index = 0; index < sources; ++index) {
      world.files.push_back({FileKind::kFile, "r/a/" + std::to_string(index) + ".ov", ""});
    }
    for (const int error : {EIO, EMFILE, ENOENT, EACCES}) {
      world.openingError = error;
      play(world, {loadPackageTypes("a")});
      World closed = world;
      closed.files.push_back({FileKind::kClosedFolder, "r/a/in", ""});
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
  world.files = {
      {FileKind::kFolder, "d", ""},       {FileKind::kFile, "f", ""},      {FileKind::kLink, "l", "d"},
      {FileKind::kLink, "dangling", "x"}, {FileKind::kFifo, "p", ""},      {FileKind::kSocket, "s", ""},
      {FileKind::kLink, "g", "f"},        {FileKind::kFolder, "c/in", ""}, {FileKind::kClosedFolder, "c", ""}};
  std::vector<std::string> roots;
  for (const std::string& root : everyText("dfl/. ", 4)) {
    // What lies above the files belongs to nobody.
    if (root.compare(0, 2, "..") != 0 && root.find("/..") == std::string::npos) roots.push_back(root);
  }
  for (const char* root : {"dangling", "p", "s", "g", "c", "c/", "c/in", "c/.", "d/../d", "missing/../d"}) {
    roots.emplace_back(root);
  }
  for (const int64_t added : {0, 1}) {
    answersOf(world, Operation::kAddKlassPath) = {returning(added)};
    play(world, {addSourceRoot(std::nullopt)});
    for (const std::string& root : roots) play(world, {addSourceRoot(root)});
  }
}

}  // namespace

// The class path: its roots, its caches and the standard library.
#include <algorithm>
#include <string>
#include <system_error>

#include "host_contract/checks/sources_on_disk.h"
#include "host_contract/host.h"

namespace fs = std::filesystem;

namespace orva::host_contract {

static void thereIsOneRuntime(Trial& /*trial*/) {
  expect(&Runtime::getInstance() == &Runtime::getInstance(), "Runtime::getInstance returned two runtimes");
}

/// Tells whether a root of the list is a folder, however the host spells it.
static bool isRoot(const std::string& path, const fs::path& folder) {
  std::error_code error;
  return fs::equivalent(path, folder, error);
}

static void anAddedRootIsInTheList(Trial& trial) {
  const fs::path root = addRoot(trial, "root");
  const auto& roots = Runtime::getKlassPaths();
  const auto isAdded = [&root](const std::string& path) { return isRoot(path, root); };
  expect(std::any_of(roots.begin(), roots.end(), isAdded), "the root that was added is not in the list");
}

static void laterRootsComeLater(Trial& trial) {
  const std::vector<std::string> before = Runtime::getKlassPaths();
  const fs::path first = addRoot(trial, "first");
  addRoot(trial, "second");
  const auto& roots = Runtime::getKlassPaths();
  expect(roots.size() == before.size() + 2,
         "after adding two roots to " + std::to_string(before.size()) + ", there are " + std::to_string(roots.size()));
  const bool inOrder = std::equal(before.begin(), before.end(), roots.begin()) && isRoot(roots[before.size()], first);
  expect(inOrder, "a new root comes before older ones");
}

static void aRefusedRootChangesNothing(Trial& trial) {
  const fs::path root = addRoot(trial, "root");
  const std::vector<std::string> before = Runtime::getKlassPaths();
  if (Runtime::addKlassPath(root.string())) return;
  expect(Runtime::getKlassPaths() == before, "a root was refused, but the list has changed");
}

static void aListStaysAsItIsWhileRootsAreAdded(Trial& trial) {
  addRoot(trial, "root");
  const auto& list = Runtime::getKlassPaths();
  const std::size_t size = list.size();
  addRoot(trial, "another");
  expect(list.size() == size, "a list that was returned earlier has changed");
}

static void theStandardLibraryHoldsTheLoaders(Trial& /*trial*/) {
  const fs::path root = Runtime::getStandardLibraryPath();
  if (root.empty()) return;
  for (const char* name : {"ClassLoader.ov", "SystemClassLoader.ov"}) {
    const fs::path file = root / "orva" / name;
    std::error_code error;
    expect(fs::is_regular_file(file, error), "there is no file " + file.string());
  }
}

static void aMissingClassHasNoSource(Trial& trial) {
  addRoot(trial, "root");
  const std::string file = sourceFileForClass("no.such.Type");
  expect(file.empty(), "sourceFileForClass returned '" + file + "' for 'no.such.Type'");
}

static void aClassUnderAnAddedRootIsFound(Trial& trial) {
  const fs::path root = addRoot(trial, "root");
  const std::string file = writeClass(trial, root, "Apple");
  void* const type = orva_ClassLoader_getTypeByName(fullNameOf("Apple").c_str());
  expectNothingPending(trial);
  expect(type != nullptr, "getTypeByName returned null for " + fullNameOf("Apple") + ", whose source is " + file);
}

/// The library calls invalidateKlassPathCaches after each root that was added.
static void cachesAreDroppedWithTheClassPath(Trial& trial) {
  addRoot(trial, "empty");
  const std::string name = fullNameOf("Late");
  orva_ClassLoader_getTypeByName(name.c_str());
  trial.hooks.takePending();
  writeClass(trial, trial.folder / "late", "Late");
  addRoot(trial, "late");
  void* const type = orva_ClassLoader_getTypeByName(name.c_str());
  expectNothingPending(trial);
  expect(type != nullptr, "a class that was missing before a root was added is still missing");
}

std::vector<Check> classPathChecks() {
  const Room room{"class_path"};
  const Room withSources{"class_path", Needs::sources};
  return {
      room.required("ThereIsOneRuntime", thereIsOneRuntime,
                    "A program would add roots to one class path, and packages would be searched on another."),
      room.required("AnAddedRootIsInTheList", anAddedRootIsInTheList,
                    "Packages are searched below the listed roots; those of the new root would not be found."),
      room.advised("LaterRootsComeLater", laterRootsComeLater,
                   "The first root that has a package wins; a new root would hide what programs use already."),
      room.required(
          "ARefusedRootChangesNothing", aRefusedRootChangesNothing,
          "addSourceRoot returns 0 and keeps the caches of the class path; the refused root would be searched all the "
          "same, or an older one would be gone."),
      room.advised(
          "AListStaysAsItIsWhileRootsAreAdded", aListStaysAsItIsWhileRootsAreAdded,
          "A thread that loads a package reads the list in place, without a lock; another thread that adds a root "
          "meanwhile would crash it, unless the host makes one wait for the other."),
      room.required(
          "TheStandardLibraryHoldsTheLoaders", theStandardLibraryHoldsTheLoaders,
          "The first call of getSystem loads these two files; it would fail in every program. A host without them "
          "returns an empty path."),
      room.required("AMissingClassHasNoSource", aMissingClassHasNoSource,
                    "Only an empty path means that the class path has no such class; the library would load a file "
                    "that is not there, and raise where it should return null."),
      withSources.required("AClassUnderAnAddedRootIsFound", aClassUnderAnAddedRootIsFound,
                           "Programs add roots to reach the classes below them; those classes would stay unknown."),
      withSources.required("CachesAreDroppedWithTheClassPath", cachesAreDroppedWithTheClassPath,
                           "A class that was looked up before its root was added would never be found."),
  };
}

}  // namespace orva::host_contract

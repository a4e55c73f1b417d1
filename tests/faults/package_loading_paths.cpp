// The paths of loading a package: the search for its directory, the listing, the loads.
#include <cerrno>
#include <system_error>
#include <utility>

#include "classloader/natives.h"
#include "path.h"
#include "system_calls.h"

namespace faults {

using namespace scripted;

static const Native kNative{"orva_SystemClassLoader_loadPackageTypes", "Exception",
                            "Unknown native failure while loading package", "nothing"};

static const char* const kPackage = "geometry.shapes";
static const std::string kFolder = "/geometry/shapes";
static const std::string kWithout = "a-class-path-root-without-the-package";
static const std::string kFull = "a-class-path-root-with-sources";
static const std::string kEmpty = "a-class-path-root-with-an-empty-package";
static const std::string kContext = "Compiler::activeRuntimeContext()";

/// One entry of the listed directory.
struct Listed {
  std::string name;
  bool isLink = false;
  bool isSource = false;  // whether it is loaded in the end
};

static const std::vector<Listed> kDots{{".", false, false}, {"..", false, false}};
// In the order of their bytes, as they are handed out.
static const std::vector<Listed> kEntries{{".", false, false},
                                          {"..", false, false},
                                          {"AcuteTriangle.ov", false, true},
                                          {"Circle.ov", false, true},
                                          {"DirectoryOfThisName.ov", false, false},
                                          {"LinkToNowhere.ov", true, false},
                                          {"LinkToTheCircle.ov", true, true},
                                          {"Notes.txt", false, false},
                                          {"Square.ov", false, true}};

void makeFiles(const TemporaryFolder& files) {
  files.folder("a-class-path-root-that-exists");
  files.file("a-regular-file-and-no-directory");
  files.folder(kWithout);
  files.folder(kEmpty + kFolder);
  const std::string package = kFull + kFolder + '/';
  for (const char* name : {"AcuteTriangle.ov", "Circle.ov", "Notes.txt", "Square.ov"}) files.file(package + name);
  files.folder(package + "DirectoryOfThisName.ov");
  files.link(package + "LinkToNowhere.ov", "NoSuchFile.ov");
  files.link(package + "LinkToTheCircle.ov", "Circle.ov");
}

static Course cannotList(int error) {
  const std::string text = std::error_code(error, std::generic_category()).message();
  const std::string message = "Cannot enumerate package '" + std::string(kPackage) + "': " + text;
  return {steps(raised("IOException", message)), {}, 0, "IOException"};
}

static Step reading() {
  return {Step::Kind::read, "readdir()", [](int error) {
            Course course = cannotList(error);
            course.inside.insert(course.inside.begin(), Step{Step::Kind::close, "closedir()", {}});
            return course;
          }};
}

static Steps loads(const std::vector<std::string>& files) {
  Steps calls = steps(kContext);
  for (const std::string& file : files) add(calls, loaded(file, "active"));
  return calls;
}

/// The directory that is listed, and how its entries are told apart.
struct ListedFolder {
  std::string folder;
  std::vector<Listed> entries;
  bool typesHidden = false;

  bool asks(const Listed& entry) const { return entry.isLink || (typesHidden && entry.name[0] != '.'); }
};

/// The readings from one entry on, then the loads of these files and of those still to come.
static Steps readings(const ListedFolder& listing, std::size_t next, const std::vector<std::string>& files) {
  if (next == listing.entries.size()) {
    const Step close{Step::Kind::close, "closedir()", [files](int) { return Course{loads(files), {}, 0, "as usual"}; }};
    return steps(reading(), close, loads(files));
  }
  const Listed& entry = listing.entries[next];
  const std::string path = listing.folder + '/' + entry.name;
  Steps calls = steps(reading());
  if (listing.asks(entry)) {
    const auto skipped = [listing, next, files, name = entry.isSource ? "skipped" : "as usual"](int) {
      return Course{readings(listing, next + 1, files), {}, 0, name};
    };
    add(calls, Step{Step::Kind::status, "stat(\"" + path + "\")", skipped});
  }
  std::vector<std::string> all = files;
  if (entry.isSource) all.push_back(path);
  add(calls, readings(listing, next + 1, all));
  return calls;
}

/// Opening a directory; one that may not be read counts as empty.
static Steps opening(const std::string& folder) {
  const auto otherwise = [](int error) {
    return error == EACCES ? Course{loads({}), {}, 0, "empty"} : cannotList(error);
  };
#ifdef _LIBCPP_VERSION
  return steps(Step{Step::Kind::attach, "opendir(\"" + folder + "\")", otherwise});
#else
  return steps(Step{Step::Kind::open, "openat(\"" + folder + "\")", otherwise},
               Step{Step::Kind::attach, "fdopendir()", otherwise});
#endif
}

/// The search among roots, of which the last has the package; with nothing behind it, none has.
static Steps search(const std::vector<std::string>& roots, std::size_t next, const Steps& home) {
  if (next == roots.size()) {
    return steps(raised("ClassNotFoundException", "Package not found: " + std::string(kPackage)));
  }
  const bool isHome = next + 1 == roots.size() && !home.empty();
  const auto otherwise = [roots, next, home, isHome](int) {
    return Course{search(roots, next + 1, home), {}, 0, isHome ? "ClassNotFoundException" : "as usual"};
  };
  const Step status{Step::Kind::status, "stat(\"" + roots[next] + kFolder + "\")", otherwise};
  return isHome ? steps(status, home) : steps(status, search(roots, next + 1, home));
}

static Path package(
    std::string name, std::vector<std::string> roots, const Steps& home, std::function<void()> arrange = [] {}) {
  const std::string valid = "PackageLayout::isValidPackageName(" + inQuotes(kPackage) + ')';
  Path path;
  path.native = &kNative;
  path.name = std::move(name);
  path.bridged = true;
  path.usual.inside = steps(valid, "Runtime::getInstance()", "Runtime::getKlassPaths()", search(roots, 0, home));
  path.arrange = [roots = std::move(roots), arrange = std::move(arrange)] {
    host().isValidPackageName.always(returns(true));
    host().load.always(nothing());
    host().roots = roots;
    arrange();
    return Arranged{[]() -> intptr_t {
                      orva_SystemClassLoader_loadPackageTypes(token(1), kPackage);
                      return 0;
                    },
                    {}};
  };
  return path;
}

static Path listed(const std::string& name, const std::vector<std::string>& roots, const std::vector<Listed>& entries,
                   bool typesHidden) {
  const ListedFolder listing{roots.back() + kFolder, entries, typesHidden};
  const Steps home = steps(opening(listing.folder), readings(listing, 0, {}));
  Path path = package(name, roots, home);
  path.listedFolder = listing.folder;
  path.typesHidden = typesHidden;
  return path;
}

/// A directory that cannot be opened, by a command that stands for the whole path.
static Path unopened(std::string name, int error) {
  const Step open = opening(kFull + kFolder).front();
  Steps home = steps(Step{Step::Kind::open, open.line, open.otherwise});
  add(home, open.otherwise(error).inside);
  return package(std::move(name), {kFull}, home, [error] { system_calls::failOpeningDirectory(error); });
}

static Path refusedName(std::string name, const char* packageName) {
  Path path;
  path.native = &kNative;
  path.name = std::move(name);
  path.bridged = true;
  const std::string passed = packageName == nullptr ? "" : packageName;
  path.usual.inside = steps("PackageLayout::isValidPackageName(\"" + passed + "\")",
                            raised("ValueException", "A valid package name is required"));
  path.arrange = [packageName] {
    host().isValidPackageName.always(returns(false));
    return Arranged{[packageName]() -> intptr_t {
                      orva_SystemClassLoader_loadPackageTypes(token(1), packageName);
                      return 0;
                    },
                    {}};
  };
  return path;
}

std::vector<Path> packageLoadingPaths() {
  return {
      refusedName("a null name", nullptr),
      refusedName("an empty name", ""),
      refusedName("a name that is refused", "geometry..a.long.name.of.a.package"),
      package("no roots", {}, {}),
      package("roots without the package", {kWithout, "a-class-path-root-that-is-missing"}, {}),
      listed("an empty directory", {kEmpty}, kDots, false),
      listed("the second root has the package, with files, links and a directory", {kWithout, kFull}, kEntries, false),
      listed("files, links and a directory whose types are not supplied", {kFull}, kEntries, true),
      unopened("a directory that may not be read", EACCES),
      unopened("a directory that cannot be opened", EMFILE)};
}

}  // namespace faults

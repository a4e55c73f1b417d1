// The paths of adding a class path root and of precompiling sources.
#include <limits>
#include <utility>

#include "classloader/natives.h"
#include "path.h"
#include "standard_library.h"

namespace faults {

using namespace scripted;

static const Native kAddRoot{"orva_ClassLoader_addSourceRoot", {}, {}, "0"};
static const Native kPrecompile{"orva_ClassLoader_precompileSources", "Exception", {}, "nothing"};

static const std::string kDirectory = "a-class-path-root-that-exists";
static const std::string kFile = "a-regular-file-and-no-directory";
static const std::string kMissing = "a-class-path-root-that-is-missing";

static Path addRoot(std::string name, const char* root, bool answer, Course usual) {
  Path path;
  path.native = &kAddRoot;
  path.name = std::move(name);
  path.usual = std::move(usual);
  path.arrange = [root, answer] {
    host().addKlassPath.always(returns(answer));
    return Arranged{[root] { return static_cast<intptr_t>(orva_ClassLoader_addSourceRoot(root)); }, {}};
  };
  return path;
}

static Path missingRoot(std::string name, const char* root) {
  return addRoot(std::move(name), root, false,
                 {{}, steps(raised("ValueException", "Class path root is required")), 0, "as usual"});
}

static Steps asked(const std::string& root) {
  return steps("Runtime::getInstance()", "Runtime::addKlassPath(\"" + root + "\")");
}

static Steps refused(const std::string& root) {
  return steps(raised("IOException", "Class path root does not exist: " + root));
}

/// A status query; a root that cannot be told to be a directory is refused aloud.
static Step status(const std::string& root, const std::string& ifItFails) {
  return {Step::Kind::status, "stat(\"" + root + "\")",
          [root, ifItFails](int /*error*/) { return Course{{}, refused(root), 0, ifItFails}; }};
}

static Path refusedRoot(std::string name, const std::string& root, bool exists, bool isDirectory) {
  const Step asUsual = status(root, "as usual");
  Steps calls = asked(root);
  add(calls, isDirectory ? status(root, "IOException") : asUsual);
  if (exists) add(calls, isDirectory ? status(root, "IOException") : asUsual);
  if (!isDirectory) add(calls, refused(root));
  return addRoot(std::move(name), root.c_str(), false, {{}, calls, 0, "as usual"});
}

static Path precompile(std::string name, std::vector<std::optional<std::string>> elements, std::optional<int64_t> size,
                       Course usual) {
  Path path;
  path.native = &kPrecompile;
  path.name = std::move(name);
  path.bridged = true;
  path.usual = std::move(usual);
  path.arrange = [elements = std::move(elements), size] {
    host().precompile.always(nothing());
    void* const files = host().list("files", elements, size);
    return Arranged{[files]() -> intptr_t {
                      orva_ClassLoader_precompileSources(files);
                      return 0;
                    },
                    {files}};
  };
  return path;
}

static Path compiled(std::string name, const std::vector<std::optional<std::string>>& elements,
                     std::optional<int64_t> size, const std::string& passedOn) {
  const Steps calls =
      steps(listRead("files", static_cast<int64_t>(elements.size())), "Compiler::activeRuntimeContext()",
            "Compiler::precompileSources({" + passedOn + "}, active, no listener)");
  return precompile(std::move(name), elements, size, {calls, {}, 0, "as usual"});
}

/// A path that the conversion of the list ends.
static Path refusedList(std::string name, const std::vector<std::optional<std::string>>& elements,
                        std::optional<int64_t> size, int64_t fetched, const std::string& text) {
  return precompile(std::move(name), elements, size,
                    {steps(listRead("files", fetched)), steps(raised("Exception", text)), 0, "as usual"});
}

static Path nullList() {
  Path path = refusedList("a null list", {}, {}, 0, "Source filename list is required");
  path.usual.inside.clear();
  path.arrange = [] {
    return Arranged{[]() -> intptr_t {
                      orva_ClassLoader_precompileSources(nullptr);
                      return 0;
                    },
                    {}};
  };
  return path;
}

std::vector<Path> classPathPaths() {
  const std::string one = "/sources/geometry/Circle.ov";
  const std::string two = "/sources/geometry/Square.ov";
  const std::string three = "/sources/geometry/Triangle.ov";
  return {missingRoot("a null root", nullptr),
          missingRoot("an empty root", ""),
          addRoot("a root that the runtime accepts", kMissing.c_str(), true,
                  {{}, steps(asked(kMissing), "ClassLoader::invalidateKlassPathCaches()"), 1, "as usual"}),
          refusedRoot("a refused root that is a directory", kDirectory, true, true),
          refusedRoot("a refused root that is a regular file", kFile, true, false),
          refusedRoot("a refused root that is missing", kMissing, false, false),
          nullList(),
          compiled("an empty list", {}, {}, ""),
          compiled("a list with a negative size", {}, -1, ""),
          compiled("a list of three", {one, two, three}, {},
                   inQuotes(one.c_str()) + ", " + inQuotes(two.c_str()) + ", " + inQuotes(three.c_str())),
          refusedList("a list with a null element", {one, std::nullopt, three}, {}, 2,
                      "Source filename list cannot contain null"),
          refusedList("a list whose size no vector holds", {}, std::numeric_limits<int64_t>::max(), 0,
                      standard_library::impossibleReservation())};
}

}  // namespace faults

// The paths. Their texts are long enough that each `std::string` allocates.
#include <cerrno>
#include <utility>

#include "path.h"

namespace faults {

using Paths = std::vector<Path>;

static void add(Paths& paths, std::string name, const std::string& story) {
  paths.push_back({std::move(name), model::storyFrom(story)});
}

static void addObjectAbiVersion(Paths& paths) {
  add(paths, "the only path", R"(
      answer Compiler::objectAbiVersion returns -7 ""
      call objectAbiVersion)");
}

static void addGetSystem(Paths& paths) {
  const std::string library = R"(
      answer Runtime::getStandardLibraryPath returns 1 "/usr/lib/orva/standard-library"
      )";
  const std::string noObject = R"(answer Orva_allocObject returns 0 ""
      )";
  const std::string object = R"(answer Orva_allocObject returns 5 ""
      )";
  add(paths, "the first call", library + object + "call getSystem");
  add(paths, "a first call that gets no object", library + noObject + "call getSystem");
  add(paths, "a first call without a standard library", object + "call getSystem");
  add(paths, "a first call without a standard library that gets no object", noObject + "call getSystem");
  const std::string twice = "call getSystem\ncall getSystem";
  add(paths, "a call after the sources were loaded", library + noObject + object + twice);
  add(paths, "a call after the sources were loaded that gets no object", library + noObject + twice);
  add(paths, "a call after the object was made", library + object + twice);
  add(paths, "a call after the object was made without a standard library", object + twice);
}

static void addGenericInstances(Paths& paths) {
  const std::string wanted = R"("Map<geometry.shapes.Circle, String>" )";
  const std::string spelling = R"(" Map<geometry.shapes.Circle,String>" )";
  const std::string other = R"("Map<geometry.shapes.Square, String>" )";
  const std::string call = "\ncall getTypeByName " + wanted;
  const std::string ready = "record " + other + other + other + other + "1 1\n";
  const std::string table = ready + "record " + wanted + wanted + wanted + wanted + "0 0\n";
  for (const int number : {3, 4, 1, 2}) {
    std::string record = "record ";
    for (const int name : {1, 2, 3, 4}) record += name == number ? spelling : other;
    add(paths, "a generic instance that is ready under name " + std::to_string(number), table + record + "1 1" + call);
  }
  const std::string answer = table + "answer ClassLoader::materializeRuntimeGenericType returns ";
  add(paths, "a generic instance that is materialised", answer + R"(1 "/generated/Map_Circle_String.ov")" + call);
  add(paths, "a generic instance that is materialised without a source", answer + R"(1 "")" + call);
  add(paths, "a generic instance that is not materialised", answer + R"(0 "/not/to/be/loaded.ov")" + call);
}

static void addGetTypeByName(Paths& paths) {
  add(paths, "a null name", "call getTypeByName");
  add(paths, "an empty name", R"(call getTypeByName "")");
  add(paths, "a name with \"<\" and no \">\"", R"(call getTypeByName "Map<geometry.shapes.Circle")");
  addGenericInstances(paths);
  const std::string registered = R"(
      entry "Circle" "geometry.shapes.Circle"
      entry "ParallelogramWithALongName" "geometry.shapes.Parallelogram"
      call getTypeByName )";
  add(paths, "a registered class, by its full name", registered + R"("geometry.shapes.Parallelogram")");
  add(paths, "a registered class, by its short name", registered + R"("ParallelogramWithALongName")");
  add(paths, "a registered class, by the tail of its full name", registered + R"("Parallelogram")");
  const std::string unknown = R"(
      entry "Circle" "geometry.shapes.Circle"
      entry null null
      )";
  add(paths, "an unknown class with a source", unknown + R"(
      answer ClassLoader::sourceFileForClass returns 1 "/class/path/geometry/shapes/Parallelogram.ov"
      call getTypeByName "geometry.shapes.Parallelogram")");
  add(paths, "an unknown class without a source", unknown + R"(call getTypeByName "geometry.shapes.Parallelogram")");
  add(paths, "a name with \">\" and no \"<\"", unknown + R"(call getTypeByName "geometry.shapes.Circle>")");
  add(paths, "a short name that two types share", R"(
      entry "ParallelogramWithALongName" "one.package.ParallelogramWithALongName"
      entry "" "another.ParallelogramWithALongName"
      entry "Circle" "geometry.shapes.Circle"
      call getTypeByName "ParallelogramWithALongName")");
}

static void addAddSourceRoot(Paths& paths) {
  add(paths, "a null root", "call addSourceRoot");
  add(paths, "an empty root", R"(call addSourceRoot "")");
  add(paths, "a root that the runtime accepts", R"(call addSourceRoot "a-class-path-root-that-is-missing")");
  const std::string refused = R"(
      folder "a-class-path-root-that-exists" ""
      file "a-regular-file-and-no-directory" ""
      answer Runtime::addKlassPath returns 0 ""
      call addSourceRoot )";
  add(paths, "a refused root that is a directory", refused + R"("a-class-path-root-that-exists")");
  add(paths, "a refused root that is a regular file", refused + R"("a-regular-file-and-no-directory")");
  add(paths, "a refused root that is missing", refused + R"("a-class-path-root-that-is-missing")");
}

static void addPrecompileSources(Paths& paths) {
  const std::string call = "call precompileSources null null ";
  add(paths, "a null list", call);
  add(paths, "an empty list", call + "[ ] null");
  add(paths, "a list with a negative size", call + "[ ] -1");
  const std::string first = R"([ "/sources/geometry/Circle.ov" )";
  const std::string third = R"( "/sources/geometry/Triangle.ov" ] null)";
  add(paths, "a list of three", call + first + R"("/sources/geometry/Square.ov")" + third);
  add(paths, "a list with a null element", call + first + "null" + third);
  add(paths, "a list whose size no vector holds", call + "[ ] 9223372036854775807");
}

/// The paths that the two natives that load plugins share.
static void addLoadings(Paths& paths, const std::string& load, const std::string& call) {
  const std::string other = "entry \"Circle\" \"geometry.shapes.Circle\"\n";
  const std::string entry = R"(entry "TracingPluginWithALongName" "plugins.of.ours.TracingPluginWithALongName" )";
  const std::string rival = R"(entry null "elsewhere.TracingPluginWithALongName" )";
  const std::string loads = other + "answer " + load + " returns 1 \"\" ";
  add(paths, "an entry type that the plugin registers", loads + entry + '\n' + call);
  add(paths, "an entry type without a type object", loads + entry + "\nanswer Orva_typeByName returns 0 \"\"\n" + call);
  add(paths, "an entry type that is registered already", other + entry + '\n' + call);
  add(paths, "an entry type that is ambiguous before the load", entry + '\n' + rival + '\n' + other + call);
  add(paths, "an entry type that the plugin does not register", other + call);
  add(paths, "an entry type that is ambiguous after the load", loads + entry + rival + '\n' + call);
}

static const std::string entryType = R"("TracingPluginWithALongName" )";

static void addLoadSourceClass(Paths& paths) {
  const std::string file = R"("/plugins/of/ours/TracingPlugin.ov")";
  const std::string call = "call loadSourceClass ";
  add(paths, "a null file", call + entryType + "null");
  add(paths, "an empty file", call + entryType + R"("")");
  add(paths, "a null entry type", call + "null " + file);
  add(paths, "an empty entry type", call + R"("" )" + file);
  addLoadings(paths, "Compiler::ensureSourceLoadedInActiveJit", call + entryType + file);
}

static void addLoadObjectBundle(Paths& paths) {
  const std::string objects = R"([ "/plugins/of/ours/First.object" "/plugins/of/ours/Second.object" ] null )";
  const std::string one = R"([ "the-identity-of-the-first-source" ] null )";
  const std::string identities = R"([ "the-identity-of-the-first-source" "the-identity-of-the-second-source" ] null )";
  const std::string nullAmong = R"([ "/plugins/of/ours/First.object" null "/plugins/of/ours/Third.object" ] null )";
  const std::string call = "call loadObjectBundle ";
  add(paths, "null object paths", call + entryType + "null null " + identities);
  add(paths, "null source identities", call + entryType + "null " + objects);
  add(paths, "a null entry type", call + "null null " + objects + identities);
  add(paths, "an empty entry type", call + R"("" null )" + objects + identities);
  const std::string load = "Compiler::ensureObjectBundleLoadedInActiveJit";
  addLoadings(paths, load, call + entryType + "null " + objects + identities);
  const std::string empty = "[ ] null ";
  add(paths, "two empty lists",
      "answer " + load + R"( returns 1 "" entry )" + entryType + R"("plugins.of.ours.TracingPluginWithALongName")" +
          '\n' + call + entryType + "null " + empty + empty);
  const std::string refused = "entry \"Circle\" \"geometry.shapes.Circle\"\n" + call + entryType + "null ";
  add(paths, "a null among the object paths", refused + nullAmong + nullAmong);
  add(paths, "a null among the source identities", refused + objects + nullAmong);
  add(paths, "lists of different sizes", refused + objects + one);
}

static void addLoadClass(Paths& paths) {
  add(paths, "a known class", R"(call loadClass "geometry.shapes.Circle")");
  add(paths, "an unknown class", R"(
      answer Orva_typeByName returns 0 ""
      call loadClass "geometry.shapes.Circle")");
  add(paths, "a null name", "call loadClass");
  add(paths, "an empty name", R"(call loadClass "")");
}

static void addLoadPackageTypes(Paths& paths) {
  const std::string refused = "answer PackageLayout::isValidPackageName returns 0 \"\"\ncall loadPackageTypes ";
  add(paths, "a null name", refused);
  add(paths, "an empty name", refused + R"("")");
  add(paths, "a name that is refused", refused + R"("geometry..a.long.name.of.a.package")");
  const std::string call = "\ncall loadPackageTypes \"geometry.shapes\"";
  add(paths, "no roots", call);
  const std::string without = R"(
      folder "a-class-path-root-without-the-package" ""
      root "a-class-path-root-without-the-package")";
  add(paths, "roots without the package", without + "\nroot \"a-class-path-root-that-is-missing\"" + call);
  add(paths, "an empty directory",
      R"(
      folder "a-class-path-root-with-an-empty-package/geometry/shapes" ""
      root "a-class-path-root-with-an-empty-package")" +
          call);
  const std::string full = R"(
      file "a-class-path-root-with-sources/geometry/shapes/AcuteTriangle.ov" ""
      file "a-class-path-root-with-sources/geometry/shapes/Circle.ov" ""
      folder "a-class-path-root-with-sources/geometry/shapes/DirectoryOfThisName.ov" ""
      link "a-class-path-root-with-sources/geometry/shapes/LinkToNowhere.ov" "NoSuchFile.ov"
      link "a-class-path-root-with-sources/geometry/shapes/LinkToTheFileAbove.ov" "../FileAbove.ov"
      file "a-class-path-root-with-sources/geometry/FileAbove.ov" ""
      file "a-class-path-root-with-sources/geometry/shapes/Notes.txt" ""
      file "a-class-path-root-with-sources/geometry/shapes/Square.ov" ""
      root "a-class-path-root-with-sources"
      )";
  add(paths, "the second root has the package, with files, links and a directory", without + full + call);
  add(paths, "files, links and a directory whose types are not supplied", full + "types-hidden 1" + call);
  add(paths, "a directory that may not be read", full + "opening-error " + std::to_string(EACCES) + call);
  add(paths, "a directory that cannot be opened", full + "opening-error " + std::to_string(EMFILE) + call);
}

Paths everyPath() {
  Paths paths;
  addObjectAbiVersion(paths);
  addGetSystem(paths);
  addGetTypeByName(paths);
  addAddSourceRoot(paths);
  addPrecompileSources(paths);
  addLoadSourceClass(paths);
  addLoadObjectBundle(paths);
  addLoadClass(paths);
  addLoadPackageTypes(paths);
  return paths;
}

}  // namespace faults

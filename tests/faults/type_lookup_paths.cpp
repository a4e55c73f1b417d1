// The paths of the lookup of a type by its name.
#include <utility>

#include "classloader/natives.h"
#include "path.h"

namespace faults {

using namespace scripted;
using Lines = std::vector<std::string>;

static const Native kNative{"orva_ClassLoader_getTypeByName", "ClassNotFoundException", {}, "null"};

static const char* const kInstance = "Map<geometry.shapes.Circle, String>";
static const char* const kSpelling = " Map<geometry.shapes.Circle,String>";
static const char* const kOther = "Map<geometry.shapes.Square, String>";
static const char* const kPlain = "geometry.shapes.Parallelogram";
static const char* const kShort = "ParallelogramWithALongName";
static const char* const kSource = "/class/path/geometry/shapes/Parallelogram.ov";

static const std::string kContext = "Compiler::activeRuntimeContext()";
static const Lines kWalk{"lock(gReflectionMutex)", "unlock(gReflectionMutex)"};

/// A path that ends in the runtime's own lookup.
static Path lookup(std::string name, const char* typeName, const Steps& inside, std::function<void()> arrange) {
  Path path;
  path.native = &kNative;
  path.name = std::move(name);
  path.bridged = typeName != nullptr && *typeName != '\0';
  path.usual = {inside, steps("Orva_typeByName(" + inQuotes(typeName) + ')'), asResult(token(3)), "as usual"};
  path.arrange = [typeName, arrange = std::move(arrange)] {
    host().typeByName.always(returns(token(3)));
    host().load.always(nothing());
    arrange();
    return Arranged{[typeName] { return asResult(orva_ClassLoader_getTypeByName(typeName)); }, {}};
  };
  return path;
}

static std::string materialized() {
  return "ClassLoader::materializeRuntimeGenericType(" + inQuotes(kInstance) + R"(, "", "", active))";
}

static std::string searched(const char* name) {
  return "ClassLoader::sourceFileForClass(" + inQuotes(name) + ", active, no token)";
}

/// An instance that is ready and spelled so by one of its names alone.
static Path readyInstance(int number) {
  return lookup("a generic instance that is ready under name " + std::to_string(number), kInstance, steps(kWalk),
                [number] {
                  const auto name = [number](int which) { return which == number ? kSpelling : kOther; };
                  gTypes = {typeRecord(kInstance, kInstance, kInstance, kInstance, false),
                            typeRecord(kOther, kOther, kOther, kOther), typeRecord(name(1), name(2), name(3), name(4))};
                });
}

static Path missingInstance(std::string name, bool answer, const char* source) {
  const Steps loads = answer ? steps(loaded(source, "active")) : steps();
  return lookup(std::move(name), kInstance, steps(kWalk, kContext, materialized(), loads), [answer, source] {
    gTypes = {typeRecord(kOther, kOther, kOther, kOther),
              typeRecord(kInstance, kInstance, kInstance, kInstance, false)};
    host().materialize.always([answer, source](std::string& instance, std::string& file, ContextPointer&) {
      instance = kInstance;
      file = source;
      return answer;
    });
  });
}

static Path registered(std::string name, const char* typeName) {
  return lookup(std::move(name), typeName, steps(scan(2)),
                [] { host().registry = {{"Circle", "geometry.shapes.Circle"}, {kShort, kPlain}}; });
}

static Path unknown(std::string name, const char* typeName, const char* source) {
  const Steps loads = *source != '\0' ? steps(loaded(source, "active")) : steps();
  return lookup(std::move(name), typeName, steps(scan(2), kContext, searched(typeName), loads), [source] {
    host().registry = {{"Circle", "geometry.shapes.Circle"}, {std::nullopt, std::nullopt}};
    host().sourceFileForClass.always(returns(std::string(source)));
  });
}

/// Two types share a short name; the scan ends at the second of them.
static Path ambiguous() {
  const std::string text = std::string("Ambiguous plugin entry type '") + kShort + "'; use its fully qualified name";
  Path path = lookup("a short name that two types share", kShort, steps(scan(2)), [] {
    host().registry = {{kShort, "one.package.ParallelogramWithALongName"},
                       {"", "another.ParallelogramWithALongName"},
                       {"Circle", "geometry.shapes.Circle"}};
  });
  path.usual.outside = steps(raised("ClassNotFoundException", text));
  path.usual.result = 0;
  return path;
}

std::vector<Path> typeLookupPaths() {
  const auto nothingMore = [] {};
  std::vector<Path> paths{lookup("a null name", nullptr, {}, nothingMore), lookup("an empty name", "", {}, nothingMore),
                          lookup("a name with \"<\" and no \">\"", "Map<geometry.shapes.Circle", {}, nothingMore)};
  for (const int number : {3, 4, 1, 2}) paths.push_back(readyInstance(number));
  paths.push_back(missingInstance("a generic instance that is materialised", true, "/generated/Map_Circle_String.ov"));
  paths.push_back(missingInstance("a generic instance that is materialised without a source", true, ""));
  paths.push_back(missingInstance("a generic instance that is not materialised", false, "/not/to/be/loaded.ov"));
  paths.push_back(registered("a registered class, by its full name", kPlain));
  paths.push_back(registered("a registered class, by its short name", kShort));
  paths.push_back(registered("a registered class, by the tail of its full name", "Parallelogram"));
  paths.push_back(unknown("an unknown class with a source", kPlain, kSource));
  paths.push_back(unknown("an unknown class without a source", kPlain, ""));
  paths.push_back(unknown("a name with \">\" and no \"<\"", "geometry.shapes.Circle>", ""));
  paths.push_back(ambiguous());
  return paths;
}

}  // namespace faults

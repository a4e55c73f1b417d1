// The paths of the two natives that only hand a call on.
#include <utility>

#include "classloader/natives.h"
#include "path.h"

namespace faults {

using namespace scripted;

static const Native kAbiVersion{"orva_ClassLoader_objectAbiVersion", {}, {}, ""};
static const Native kLoadClass{"orva_SystemClassLoader_loadClass", {}, {}, ""};

static Path abiVersion() {
  Path path;
  path.native = &kAbiVersion;
  path.name = "the only path";
  path.usual = {{}, steps("Compiler::objectAbiVersion()"), -7, "as usual"};
  path.arrange = [] {
    host().objectAbiVersion.always(returns(-7));
    return Arranged{[] { return static_cast<intptr_t>(orva_ClassLoader_objectAbiVersion()); }, {}};
  };
  return path;
}

static Path loadClass(std::string name, const char* className, void* type) {
  Path path;
  path.native = &kLoadClass;
  path.name = std::move(name);
  path.usual = {{}, steps("Orva_typeByName(" + inQuotes(className) + ')'), asResult(type), "as usual"};
  path.arrange = [className, type] {
    host().typeByName.always(returns(type));
    return Arranged{[className] { return asResult(orva_SystemClassLoader_loadClass(token(1), className)); }, {}};
  };
  return path;
}

std::vector<Path> boundaryPaths() {
  return {abiVersion(), loadClass("a known class", "geometry.shapes.Circle", token(3)),
          loadClass("an unknown class", "geometry.shapes.Circle", nullptr), loadClass("a null name", nullptr, nullptr),
          loadClass("an empty name", "", nullptr)};
}

}  // namespace faults

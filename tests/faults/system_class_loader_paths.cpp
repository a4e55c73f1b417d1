// The paths of the system class loader's first and later calls. What a call leaves behind, the next one finds.
#include <utility>

#include "classloader/natives.h"
#include "path.h"

namespace faults {

using namespace scripted;

static const Native kNative{"orva_ClassLoader_getSystem", "Exception",
                            "Unknown native failure while initializing the system class loader", "null"};

static const char* const kLibrary = "/usr/lib/orva/standard-library";
static const std::vector<std::string> kAsked{"Runtime::getInstance()", "Runtime::getStandardLibraryPath()"};
static const std::vector<std::string> kLoads{
    loaded("/usr/lib/orva/standard-library/orva/ClassLoader.ov", "empty"),
    loaded("/usr/lib/orva/standard-library/orva/SystemClassLoader.ov", "empty")};
static const std::string kAllocated = "Orva_allocObject(\"SystemClassLoader\")";

static void arrangeHost(const std::string& library, void* object) {
  host().standardLibraryPath.always(returns(library));
  host().load.always(nothing());
  host().allocObject.always(returns(object));
}

/// The call before the one that is tried.
static void callOnce(const std::string& library, void* object) {
  scripted::reset();
  arrangeHost(library, object);
  EXPECT_EQ(object, orva_ClassLoader_getSystem());
}

static Path call(std::string name, const std::string& library, void* object, const Steps& calls) {
  Path path;
  path.native = &kNative;
  path.name = std::move(name);
  path.bridged = !calls.empty();
  path.usual = {calls, {}, asResult(object), "as usual"};
  path.history = [] {};
  path.arrange = [library, object] {
    arrangeHost(library, object);
    return Arranged{[] { return asResult(orva_ClassLoader_getSystem()); }, {}};
  };
  return path;
}

/// A first call. Once both sources are loaded they stay so, and a cached object ends all work.
static Path firstCall(std::string name, const std::string& library, void* object) {
  const Steps loads = library.empty() ? Steps() : steps(kLoads);
  Path path = call(std::move(name), library, object, steps(kAsked, loads, kAllocated));
  const std::size_t allocation = path.usual.inside.size() - 1;
  path.nextCall = [usual = path.usual, allocation, stays = !library.empty()](std::size_t completed, intptr_t result) {
    if (result != 0) return Course{{}, {}, result, "as usual"};
    if (stays && completed >= allocation) return Course{steps(kAllocated), {}, usual.result, "as usual"};
    return usual;
  };
  return path;
}

/// A call after the sources were loaded and no object came.
static Path laterCall(std::string name, void* object) {
  Path path = call(std::move(name), kLibrary, object, steps(kAllocated));
  path.history = [] { callOnce(kLibrary, nullptr); };
  path.nextCall = [usual = path.usual](std::size_t /*completed*/, intptr_t result) {
    return result != 0 ? Course{{}, {}, result, "as usual"} : usual;
  };
  return path;
}

static Path readyCall(std::string name, const std::string& library) {
  Path path = call(std::move(name), library, token(5), {});
  path.history = [library] { callOnce(library, token(5)); };
  path.nextCall = [usual = path.usual](std::size_t /*completed*/, intptr_t /*result*/) { return usual; };
  return path;
}

std::vector<Path> systemClassLoaderPaths() {
  return {firstCall("the first call", kLibrary, token(5)),
          firstCall("a first call that gets no object", kLibrary, nullptr),
          firstCall("a first call without a standard library", "", token(5)),
          firstCall("a first call without a standard library that gets no object", "", nullptr),
          laterCall("a call after the sources were loaded", token(5)),
          laterCall("a call after the sources were loaded that gets no object", nullptr),
          readyCall("a call after the object was made", kLibrary),
          readyCall("a call after the object was made without a standard library", "")};
}

}  // namespace faults

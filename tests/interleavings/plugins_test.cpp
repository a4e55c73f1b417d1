// Two simultaneous loads of plugins with the same entry type. The check and the load are not one step: both threads may
// pass the check, and then the compiler decides what the second load does.
#include <gtest/gtest.h>

#include <string>

#include "schedules.h"

using namespace scripted;

static const std::string pluginType = "plugins.Plugin";

static const Path refused{
    "is refused",
    sequence(scan(1), raised("IllegalStateException", "Plugin entry type is already registered: plugins.Plugin")),
    "null, IllegalStateException"};

/// The paths of a plugin whose entry type another plugin may define meanwhile; `load` lists the calls of its load.
static std::vector<Path> pathsOf(const std::vector<std::string>& load) {
  return {{"is handed the type", sequence(scan(0), load, scan(1), typeByName(pluginType)), pluginType},
          {"is told that the type is there",
           sequence(scan(0), load, raised("Exception", "defined twice: " + pluginType)), "null, Exception"},
          refused};
}

static Side source(const std::string& file, std::vector<Path> paths) {
  const auto call = [file](const SteppedHost& host) {
    return host.endingWithType(orva_ClassLoader_loadSourceClass(file.c_str(), "Plugin"));
  };
  return {call, std::move(paths)};
}

static Side source() { return source("Plugin.ov", pathsOf({loaded("Plugin.ov", "empty")})); }

namespace {

/// The lists of one bundle, which only one thread uses.
class Bundle {
 public:
  explicit Bundle(const std::string& name) : name_(name) {}

  void makeLists() {
    objects_ = host().list(name_ + "'s objects", {"plugin.o"});
    identities_ = host().list(name_ + "'s identities", {"1f3a"});
  }

  Side side() const {
    const auto call = [this](const SteppedHost& host) {
      return host.endingWithType(orva_ClassLoader_loadObjectBundle(objects_, identities_, "Plugin"));
    };
    return {call, pathsOf(sequence(listRead(name_ + "'s objects", 1), listRead(name_ + "'s identities", 1),
                                   "Compiler::ensureObjectBundleLoadedInActiveJit({\"plugin.o\"}, {\"1f3a\"})"))};
  }

 private:
  std::string name_;
  void* objects_ = nullptr;
  void* identities_ = nullptr;
};

}  // namespace

TEST(Plugins, TheSameSourceTwice) {
  const auto world = [](SteppedHost& host) { host.defines("Plugin.ov", pluginType); };
  expectOutcomes({world, source(), source()}, 2184,
                 {"A is handed the type. B is refused. Plugin.ov compiled for A.",
                  "A is refused. B is handed the type. Plugin.ov compiled for B.",
                  "A is handed the type. B is handed the type. Plugin.ov compiled for A.",
                  "A is handed the type. B is handed the type. Plugin.ov compiled for B."});
}

TEST(Plugins, ASourceAndABundle) {
  Bundle bundle("B");
  const auto world = [&bundle](SteppedHost& host) {
    bundle.makeLists();
    host.defines("Plugin.ov", pluginType);
    host.defines("plugin.o", pluginType);
  };
  expectOutcomes({world, source(), bundle.side()}, 6097,
                 {"A is handed the type. B is refused. Plugin.ov compiled for A.",
                  "A is refused. B is handed the type. plugin.o compiled for B.",
                  "A is handed the type. B is told that the type is there. Plugin.ov compiled for A.",
                  "A is told that the type is there. B is handed the type. plugin.o compiled for B."});
}

TEST(Plugins, TheSameBundleTwice) {
  Bundle bundleA("A");
  Bundle bundleB("B");
  const auto world = [&](SteppedHost& host) {
    host.readsListsAtOnce();
    bundleA.makeLists();
    bundleB.makeLists();
    host.defines("plugin.o", pluginType);
  };
  expectOutcomes({world, bundleA.side(), bundleB.side()}, 43192,
                 {"A is handed the type. B is refused. plugin.o compiled for A.",
                  "A is refused. B is handed the type. plugin.o compiled for B.",
                  "A is handed the type. B is handed the type. plugin.o compiled for A.",
                  "A is handed the type. B is handed the type. plugin.o compiled for B."});
}

/// The paths of a plugin whose entry type has the same short name as that of another plugin.
static Side sameShortName(const std::string& file, const std::string& own, const std::string& other) {
  const std::vector<std::string> load{loaded(file, "empty")};
  const std::string refusal = "Plugin entry type is already registered: " + other;
  const std::string ambiguity = "Ambiguous plugin entry type 'Plugin'; use its fully qualified name";
  return source(
      file, {{"is handed its type", sequence(scan(0), load, scan(1), typeByName(own)), own},
             {"is refused", sequence(scan(1), raised("IllegalStateException", refusal)), "null, IllegalStateException"},
             {"is told that there are two", sequence(scan(0), load, scan(2), raised("Exception", ambiguity)),
              "null, Exception"}});
}

TEST(Plugins, OfTheSameShortName) {
  const auto world = [](SteppedHost& host) {
    host.defines("a.ov", "a.Plugin");
    host.defines("b.ov", "b.Plugin");
  };
  const std::string both = ". a.ov compiled for A, b.ov compiled for B.";
  expectOutcomes({world, sameShortName("a.ov", "a.Plugin", "b.Plugin"), sameShortName("b.ov", "b.Plugin", "a.Plugin")},
                 13200,
                 {"A is handed its type. B is refused. a.ov compiled for A.",
                  "A is refused. B is handed its type. b.ov compiled for B.",
                  "A is handed its type. B is told that there are two" + both,
                  "A is told that there are two. B is handed its type" + both,
                  "A is told that there are two. B is told that there are two" + both});
}

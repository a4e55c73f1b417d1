// A lookup at once with what else changes or reads the class path. A root that is added while a package is searched
// for is left out: the search relies on the host to keep that from happening.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "schedules.h"
#include "temporary_folder.h"

using namespace scripted;

namespace {

/// Looks a class up whose source a root holds, or none yet.
Side lookup(const std::string& name, std::vector<Path> paths) {
  const auto call = [name](const SteppedHost& host) {
    return host.endingWithType(orva_ClassLoader_getTypeByName(name.c_str()));
  };
  return {call, std::move(paths)};
}

std::vector<std::string> searching(const std::string& name, int32_t registered) {
  return sequence(scan(registered), "Compiler::activeRuntimeContext()",
                  "ClassLoader::sourceFileForClass(\"" + name + "\", active, no token)");
}

TEST(ClassPath, ARootIsAddedAndAClassBelowItLookedUp) {
  const Side adding = {
      [](const SteppedHost& host) { return host.ending(std::to_string(orva_ClassLoader_addSourceRoot("more"))); },
      {{"adds the root",
        {"Runtime::getInstance()", "Runtime::addKlassPath(\"more\")", "ClassLoader::invalidateKlassPathCaches()"},
        "1"}}};
  const Side circle = lookup(
      "p.Circle",
      {{"comes too early", sequence(searching("p.Circle", 0), typeByName("p.Circle")), "null"},
       {"loads the class",
        sequence(searching("p.Circle", 0), loaded("more/p/Circle.ov", "active"), typeByName("p.Circle")), "p.Circle"}});
  const auto world = [](SteppedHost& host) {
    host.hasRoot("cp");
    host.defines("more/p/Circle.ov", "p.Circle");
  };
  expectOutcomes({world, adding, circle}, 126,
                 {"A adds the root. B comes too early. nothing compiled.",
                  "A adds the root. B loads the class. more/p/Circle.ov compiled for B."});
}

/// A package of two classes on the disk, in the working directory.
class Packages : public testing::Test {
 protected:
  void SetUp() override {
    files.file("cp/p/Circle.ov");
    files.file("cp/p/Square.ov");
    std::filesystem::current_path(files.path());
  }
  void TearDown() override { std::filesystem::current_path("/"); }

  static void world(SteppedHost& host) {
    host.hasRoot("cp");
    host.defines("cp/p/Circle.ov", "p.Circle");
    host.defines("cp/p/Square.ov", "p.Square");
  }

  static Side package() {
    return {
        [](const SteppedHost& host) {
          orva_SystemClassLoader_loadPackageTypes(nullptr, "p");
          return host.ending("returned");
        },
        {{"loads both",
          {"PackageLayout::isValidPackageName(\"p\")", "Runtime::getInstance()", "Runtime::getKlassPaths()",
           "Compiler::activeRuntimeContext()", loaded("cp/p/Circle.ov", "active"), loaded("cp/p/Square.ov", "active")},
          "returned"}}};
  }

  const TemporaryFolder files;
};

TEST_F(Packages, OneIsLoadedAndItsFirstClassLookedUp) {
  const auto loading = sequence(searching("p.Circle", 0), loaded("cp/p/Circle.ov", "active"), typeByName("p.Circle"));
  const Side circle = lookup("p.Circle", {{"loads it", loading, "p.Circle"},
                                          {"finds it alone", sequence(scan(1), typeByName("p.Circle")), "p.Circle"},
                                          {"finds both", sequence(scan(2), typeByName("p.Circle")), "p.Circle"}});
  const std::string byA = ". cp/p/Circle.ov compiled for A, cp/p/Square.ov compiled for A.";
  expectOutcomes(
      {world, package(), circle}, 1709,
      {"A loads both. B finds it alone" + byA, "A loads both. B finds both" + byA, "A loads both. B loads it" + byA,
       "A loads both. B loads it. cp/p/Circle.ov compiled for B, cp/p/Square.ov compiled for A."});
}

TEST_F(Packages, OneIsLoadedAndItsLastClassLookedUp) {
  const auto loading = [](int32_t registered) {
    return sequence(searching("p.Square", registered), loaded("cp/p/Square.ov", "active"), typeByName("p.Square"));
  };
  const Side square = lookup("p.Square", {{"loads it", loading(0), "p.Square"},
                                          {"finds the other and loads it", loading(1), "p.Square"},
                                          {"finds both", sequence(scan(2), typeByName("p.Square")), "p.Square"}});
  const std::string byA = ". cp/p/Circle.ov compiled for A, cp/p/Square.ov compiled for A.";
  const std::string byB = ". cp/p/Circle.ov compiled for A, cp/p/Square.ov compiled for B.";
  expectOutcomes({world, package(), square}, 1730,
                 {"A loads both. B loads it" + byA, "A loads both. B loads it" + byB,
                  "A loads both. B finds the other and loads it" + byA,
                  "A loads both. B finds the other and loads it" + byB, "A loads both. B finds both" + byA});
}

}  // namespace

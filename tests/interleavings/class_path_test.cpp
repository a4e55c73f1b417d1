// A lookup during other calls that change or read the class path. No root is added during the search for a package,
// because the search relies on the host to prevent that.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "lookups.h"
#include "tests/scripted_host/temporary_folder.h"

using namespace scripted;

TEST(ClassPath, ARootIsAddedAndAClassBelowItLookedUp) {
  const Side adding = {
      [](const SteppedHost& host) { return host.ending(std::to_string(orva_ClassLoader_addSourceRoot("more"))); },
      {{"adds the root",
        {"Runtime::getInstance()", "Runtime::addKlassPath(\"more\")", "ClassLoader::invalidateKlassPathCaches()"},
        "1"}}};
  const Side circle =
      lookup("p.Circle", {{"comes too early", sequence(searching("p.Circle", 0), typeByName("p.Circle")), "null"},
                          {"loads the class", loading("p.Circle", "more/p/Circle.ov", 0), "p.Circle"}});
  const auto world = [](SteppedHost& host) {
    host.hasRoot("cp");
    host.defines("more/p/Circle.ov", "p.Circle");
  };
  expectOutcomes({world, adding, circle}, 126,
                 {"A adds the root. B comes too early. nothing compiled.",
                  "A adds the root. B loads the class. more/p/Circle.ov compiled for B."});
}

namespace {

/// A package of two classes in the working directory.
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

}  // namespace

TEST_F(Packages, OneIsLoadedAndItsFirstClassLookedUp) {
  const Side circle = lookup("p.Circle", {{"loads it", loading("p.Circle", "cp/p/Circle.ov", 0), "p.Circle"},
                                          {"finds it alone", finding("p.Circle", 1), "p.Circle"},
                                          {"finds both", finding("p.Circle", 2), "p.Circle"}});
  const std::string byA = ". cp/p/Circle.ov compiled for A, cp/p/Square.ov compiled for A.";
  expectOutcomes(
      {world, package(), circle}, 1709,
      {"A loads both. B finds it alone" + byA, "A loads both. B finds both" + byA, "A loads both. B loads it" + byA,
       "A loads both. B loads it. cp/p/Circle.ov compiled for B, cp/p/Square.ov compiled for A."});
}

TEST_F(Packages, OneIsLoadedAndItsLastClassLookedUp) {
  const std::string file = "cp/p/Square.ov";
  const Side square = lookup("p.Square", {{"loads it", loading("p.Square", file, 0), "p.Square"},
                                          {"finds the other and loads it", loading("p.Square", file, 1), "p.Square"},
                                          {"finds both", finding("p.Square", 2), "p.Square"}});
  const std::string byA = ". cp/p/Circle.ov compiled for A, cp/p/Square.ov compiled for A.";
  const std::string byB = ". cp/p/Circle.ov compiled for A, cp/p/Square.ov compiled for B.";
  expectOutcomes({world, package(), square}, 1730,
                 {"A loads both. B loads it" + byA, "A loads both. B loads it" + byB,
                  "A loads both. B finds the other and loads it" + byA,
                  "A loads both. B finds the other and loads it" + byB, "A loads both. B finds both" + byA});
}

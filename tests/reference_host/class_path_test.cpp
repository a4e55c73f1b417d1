// The class path: order of roots, other spellings of a root, and what is remembered.
#include "reference_host/compiler/class_path.h"

#include <gtest/gtest.h>

#include "runtime_api/compiler.h"
#include "workspace.h"

namespace fs = std::filesystem;
using orva::compiler::ClassPath;
using Texts = std::vector<std::string>;

TEST(ClassPath, RefusesWhatIsNoDirectory) {
  const Workspace workspace;
  writeFile("file", "");
  fs::create_symlink("nowhere", "dangling");
  ClassPath path("");
  for (const char* root : {"", "nowhere", "file", "dangling", "file/"}) EXPECT_FALSE(path.add(root)) << root;
  EXPECT_EQ(path.roots(), Texts{});
}

TEST(ClassPath, RefusesOtherSpellingsOfARoot) {
  const Workspace workspace;
  fs::create_directories("root/inner");
  fs::create_directory_symlink("root", "link");
  ClassPath path("");
  EXPECT_TRUE(path.add("root"));
  const std::string absolute = (workspace.path() / "root").string();
  for (const std::string& root : Texts{"root", "root/", "./root", "root/inner/..", "link", "link/inner/..", absolute}) {
    EXPECT_FALSE(path.add(root)) << root;
  }
  EXPECT_TRUE(path.add("root/inner"));
  EXPECT_EQ(path.roots(), (Texts{"root", "root/inner"}));
}

TEST(ClassPath, SearchesTheRootsInOrderAndTheStandardLibraryLast) {
  const Workspace workspace;
  for (const char* file : {"one/a/B.ov", "two/a/B.ov", "two/a/C.ov", "library/a/B.ov", "library/a/D.ov", "two/E.ov"}) {
    writeFile(file, "");
  }
  fs::create_directories("one/a/C.ov");
  ClassPath path("library");
  path.add("one");
  path.add("two");
  EXPECT_EQ(path.find("a.B"), "one/a/B.ov");
  EXPECT_EQ(path.find("a.C"), "two/a/C.ov");
  EXPECT_EQ(path.find("a.D"), "library/a/D.ov");
  EXPECT_EQ(path.find("E"), "two/E.ov");
  EXPECT_EQ(path.roots(), (Texts{"one", "two"}));
}

TEST(ClassPath, FindsBelowARootThatIsSpelledWithASlash) {
  const Workspace workspace;
  writeFile("one/a/B.ov", "");
  ClassPath path("");
  path.add("one/");
  EXPECT_EQ(path.find("a.B"), "one/a/B.ov");
}

TEST(ClassPath, FindsNothingForWhatIsNoClassName) {
  const Workspace workspace;
  writeFile("one/A.ov", "");
  writeFile("one/a b.ov", "");
  writeFile("one/class.ov", "");
  writeFile("one/a/B.ov", "");
  ClassPath path("");
  path.add("one");
  for (const char* name : {"", ".", ".A", "A.", "a..B", "a b", "class", "../one/A", "a/B", "A<B>", "1A", "A.ov"}) {
    EXPECT_EQ(path.find(name), "") << name;
  }
  EXPECT_EQ(path.find(std::string("A\0", 2)), "");
  EXPECT_EQ(path.find(std::string(5000, 'a')), "");
}

TEST(ClassPath, RemembersHitsAndMissesUntilTheyAreDropped) {
  const Workspace workspace;
  writeFile("one/A.ov", "");
  ClassPath path("");
  path.add("one");
  EXPECT_EQ(path.find("A"), "one/A.ov");
  EXPECT_EQ(path.find("B"), "");
  fs::rename("one/A.ov", "one/B.ov");
  EXPECT_EQ(path.find("A"), "one/A.ov");
  EXPECT_EQ(path.find("B"), "");
  path.dropCaches();
  EXPECT_EQ(path.find("A"), "");
  EXPECT_EQ(path.find("B"), "one/B.ov");
}

TEST(ClassPath, ListsHandedOutStayAsTheyWere) {
  const Workspace workspace;
  auto& runtime = orva::compiler::Runtime::getInstance();
  const std::vector<std::string>& first = runtime.getKlassPaths();
  Texts all = {"."};
  for (int i = 0; i < 100; ++i) {
    all.push_back("root" + std::to_string(i));
    fs::create_directory(all.back());
    EXPECT_TRUE(runtime.addKlassPath(all.back()));
  }
  EXPECT_EQ(first, Texts{"."});
  EXPECT_EQ(runtime.getKlassPaths(), all);
}

TEST(ClassPath, TheInnermostRootTellsThePackageOfAFile) {
  const Workspace workspace;
  fs::create_directories("one/two/three");
  ClassPath path("");
  path.add("one");
  EXPECT_EQ(path.packageOf("one/A.ov"), "");
  EXPECT_EQ(path.packageOf("./one/two/../two/three/A.ov"), "two.three");
  EXPECT_EQ(path.packageOf("oneself/A.ov"), std::nullopt);
  EXPECT_EQ(path.packageOf("A.ov"), std::nullopt);
  EXPECT_EQ(path.packageOf("../one/A.ov"), std::nullopt);
  path.add("one/two/");
  EXPECT_EQ(path.packageOf("one/two/three/A.ov"), "three");
  EXPECT_EQ(path.packageOf("one/two/A.ov"), "");
  EXPECT_EQ(path.packageOf("one/A.ov"), "");
  ClassPath innerFirst("");
  innerFirst.add("one/two");
  innerFirst.add("one");
  EXPECT_EQ(innerFirst.packageOf("one/two/three/A.ov"), "three");
}

TEST(ClassPath, RootsThatStartElsewhereTellThePackageOfTheirFiles) {
  const Workspace workspace;
  fs::create_directories("below");
  fs::create_directories("aside/two");
  fs::current_path("below");
  ClassPath path("../aside/two/");
  EXPECT_EQ(path.packageOf("a/A.ov"), std::nullopt);
  EXPECT_EQ(path.packageOf("../aside/A.ov"), std::nullopt);
  EXPECT_EQ(path.packageOf("../aside/two/a/A.ov"), "a");
  path.add("..");
  EXPECT_EQ(path.packageOf("a/A.ov"), std::nullopt);
  EXPECT_EQ(path.packageOf("../../A.ov"), std::nullopt);
  EXPECT_EQ(path.packageOf("../A.ov"), "");
  EXPECT_EQ(path.packageOf("../aside/A.ov"), "aside");
  path.add("./");
  EXPECT_EQ(path.packageOf("A.ov"), "");
  EXPECT_EQ(path.packageOf("./a/b/A.ov"), "a.b");
  path.add("/");
  EXPECT_EQ(path.packageOf("/A.ov"), "");
  EXPECT_EQ(path.packageOf("/a/b/A.ov"), "a.b");
}

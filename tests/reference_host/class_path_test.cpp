// The class path: order of roots, other spellings of a root, and files that come and go.
#include "reference_host/compiler/class_path.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/stat.h>

#include <algorithm>

#include "classloader/natives.h"
#include "reference_host/runtime/pending_exception.h"
#include "runtime_api/compiler.h"
#include "tests/scripted_host/temporary_folder.h"
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
  path.add("two/");
  EXPECT_EQ(path.find("a.B"), "one/a/B.ov");
  EXPECT_EQ(path.find("a.C"), "two/a/C.ov");
  EXPECT_EQ(path.find("a.D"), "library/a/D.ov");
  EXPECT_EQ(path.find("E"), "two/E.ov");
  EXPECT_EQ(path.roots(), (Texts{"one", "two/"}));
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

TEST(ClassPath, FindsWhatIsThereNow) {
  const Workspace workspace;
  fs::create_directories("one");
  ClassPath path("library");
  path.add("one");
  EXPECT_EQ(path.find("a.B"), "");
  // Each takes precedence over those that were found so far; then they are removed, the latest first.
  writeFile("library/a/B.ov", "");
  EXPECT_EQ(path.find("a.B"), "library/a/B.ov");
  fs::create_directories("two");
  path.add("two");
  EXPECT_EQ(path.find("a.B"), "library/a/B.ov");
  writeFile("two/a/B.ov", "");
  EXPECT_EQ(path.find("a.B"), "two/a/B.ov");
  writeFile("one/a/C.ov", "");
  EXPECT_EQ(path.find("a.B"), "two/a/B.ov");
  fs::rename("one/a/C.ov", "one/a/B.ov");
  EXPECT_EQ(path.find("a.B"), "one/a/B.ov");
  fs::remove("one/a/B.ov");
  EXPECT_EQ(path.find("a.B"), "two/a/B.ov");
  fs::remove_all("two");
  EXPECT_EQ(path.find("a.B"), "library/a/B.ov");
  fs::remove_all("library");
  EXPECT_EQ(path.find("a.B"), "");
}

/// Makes every file below the working directory readable for everybody; the tests then close some.
static void openToAll() {
  constexpr auto readable = fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                            fs::perms::others_read | fs::perms::others_exec;
  fs::permissions(".", readable);
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(".")) fs::permissions(entry, readable);
}

TEST(ClassPath, TellsWhichFolderMayNotBeSearched) {
  const Workspace workspace;
  for (const char* file : {"one/a/b/C.ov", "one/D.ov", "two/a/b/E.ov", "library/a/b/F.ov"}) writeFile(file, "");
  ClassPath path("library");
  path.add("one");
  path.add("two");
  for (const char* closed : {"one", "one/a", "one/a/b"}) {
    openToAll();
    fs::permissions(closed, fs::perms::none);
    const WithoutRights nobody;
    // Classes of other roots are found; for all others, the closed folder is reported.
    EXPECT_EQ(path.find("a.b.E"), "two/a/b/E.ov");
    EXPECT_EQ(path.find("a.b.F"), "library/a/b/F.ov");
    for (const std::string name : {"C", "Missing"}) {
      EXPECT_EQ(failureOf([&] { path.find("a.b." + name); }),
                "Cannot search for class 'a.b." + name + "' at 'one/a/b/" + name + ".ov': Permission denied")
          << closed;
    }
  }
  openToAll();
  const WithoutRights nobody;
  EXPECT_EQ(path.find("a.b.C"), "one/a/b/C.ov");
  EXPECT_EQ(path.find("a.b.Missing"), "");
}

TEST(ClassPath, AClassThatIsNoFileIsNoMissingOne) {
  const Workspace workspace;
  fs::create_directories("one/a/Folder.ov");
  ASSERT_EQ(mkfifo("one/a/Fifo.ov", 0600), 0);
  fs::create_symlink("/dev/null", "one/a/Device.ov");
  fs::create_symlink("nowhere", "one/a/Dangling.ov");
  fs::create_directories("two");
  fs::create_directories("library/orva/Console.ov");
  ClassPath path("library");
  path.add("one");
  path.add("two");
  EXPECT_EQ(path.find("a.Dangling"), "");
  EXPECT_EQ(failureOf([&] { path.find("orva.Console"); }),
            "Cannot search for class 'orva.Console' at 'library/orva/Console.ov': expected a regular file");
  for (const std::string name : {"Folder", "Fifo", "Device"}) {
    EXPECT_EQ(failureOf([&] { path.find("a." + name); }),
              "Cannot search for class 'a." + name + "' at 'one/a/" + name + ".ov': expected a regular file");
    writeFile("two/a/" + name + ".ov", "");
    EXPECT_EQ(path.find("a." + name), "two/a/" + name + ".ov");
  }
}

TEST(ClassPath, ARootThatMayNotBeLookedAtIsNoMissingOne) {
  const Workspace workspace;
  writeFile("closed/root/A.ov", "");
  openToAll();
  fs::permissions("closed", fs::perms::none);
  {
    const WithoutRights nobody;
    ClassPath path("");
    EXPECT_EQ(failureOf([&] { path.add("closed/root"); }),
              "Cannot open the class path root 'closed/root': Permission denied");
    EXPECT_EQ(path.roots(), Texts{});
    EXPECT_EQ(failureOf([&] { path.add("closed"); }), "Cannot open the class path root 'closed': Permission denied");
    orva_ClassLoader_addSourceRoot("closed/root");
  }
  fs::permissions("closed", fs::perms::owner_all);
  const auto raised = orva::runtime::takePendingException().value_or(orva::runtime::PendingException{});
  EXPECT_EQ(raised.className, "IOException");
  EXPECT_EQ(raised.message, "Cannot open the class path root 'closed/root': Permission denied");
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

TEST(ClassPath, AListThatNobodyHasIsNotCopied) {
  const Workspace workspace;
  ClassPath path("");
  constexpr std::size_t count = 3000;
  const std::size_t before = mallinfo2().uordblks;
  for (std::size_t i = 0; i < count; ++i) {
    const std::string root = "root" + std::to_string(i);
    fs::create_directory(root);
    ASSERT_TRUE(path.add(root));
    path.find("A");
  }
  // A copy of the list for each root would contain 4,500,000 strings.
  EXPECT_LT(mallinfo2().uordblks - before, 10000000U);
  EXPECT_EQ(path.roots().size(), count);
}

TEST(ClassPath, ADirectoryThatTookThePlaceOfAnotherIsARootOfItsOwn) {
  const Workspace workspace;
  ClassPath path("");
  // A file system may give each new directory the inode of the one that was removed before.
  for (int i = 0; i < 20; ++i) {
    const std::string root = "root" + std::to_string(i);
    fs::create_directory(root);
    EXPECT_TRUE(path.add(root)) << root;
    EXPECT_FALSE(path.add("./" + root)) << root;
    fs::remove(root);
  }
  fs::create_directory("root7");
  EXPECT_FALSE(path.add("root7"));
}

TEST(ClassPath, EachRootTellsAPackageOfAFile) {
  const Workspace workspace;
  fs::create_directories("one/two/three");
  ClassPath path("");
  path.add("one");
  EXPECT_EQ(path.packagesOf("one/A.ov"), Texts{""});
  EXPECT_EQ(path.packagesOf("./one/two/../two/three/A.ov"), Texts{"two.three"});
  EXPECT_EQ(path.packagesOf("oneself/A.ov"), Texts{});
  EXPECT_EQ(path.packagesOf("A.ov"), Texts{});
  EXPECT_EQ(path.packagesOf("../one/A.ov"), Texts{});
  path.add("one/two/");
  EXPECT_EQ(path.packagesOf("one/two/three/A.ov"), (Texts{"three", "two.three"}));
  EXPECT_EQ(path.packagesOf("one/two/A.ov"), (Texts{"", "two"}));
  EXPECT_EQ(path.packagesOf("one/A.ov"), Texts{""});
  ClassPath innerFirst("");
  innerFirst.add("one/two");
  innerFirst.add("one");
  EXPECT_EQ(innerFirst.packagesOf("one/two/three/A.ov"), (Texts{"three", "two.three"}));
}

TEST(ClassPath, RootsThatStartElsewhereTellThePackageOfTheirFiles) {
  const Workspace workspace;
  fs::create_directories("below/a");
  fs::create_directories("aside/two");
  fs::current_path("below");
  ClassPath path("../aside/two/");
  EXPECT_EQ(path.packagesOf("a/A.ov"), Texts{});
  EXPECT_EQ(path.packagesOf("../aside/A.ov"), Texts{});
  EXPECT_EQ(path.packagesOf("../aside/two/a/A.ov"), Texts{"a"});
  path.add("..");
  EXPECT_EQ(path.packagesOf("a/A.ov"), Texts{"below.a"});
  EXPECT_EQ(path.packagesOf("../../A.ov"), Texts{});
  EXPECT_EQ(path.packagesOf("../A.ov"), Texts{""});
  EXPECT_EQ(path.packagesOf("../aside/A.ov"), Texts{"aside"});
  path.add("./");
  EXPECT_EQ(path.packagesOf("A.ov"), (Texts{"", "below"}));
  EXPECT_EQ(path.packagesOf("./a/b/A.ov"), (Texts{"a.b", "below.a.b"}));
  path.add("/");
  EXPECT_EQ(path.packagesOf("/A.ov"), Texts{""});
  EXPECT_EQ(path.packagesOf("/a/b/A.ov"), Texts{"a.b"});
}

TEST(ClassPath, SpellingsOfRootsAndFilesDoNotMatter) {
  const Workspace workspace;
  fs::create_directories("work/plugins/text");
  fs::create_directories("elsewhere/kept");
  fs::create_directory_symlink("../../elsewhere/kept", "work/plugins/linked");
  fs::create_directory_symlink("work/plugins", "outer");
  fs::create_directory_symlink("plugins", "work/inner");
  fs::current_path("work");
  const std::string here = fs::current_path().string();
  const std::string above = fs::path(here).parent_path().string();
  const Texts outer = {".", "./", here, here + "/", "../work", above + "/work/../work", "plugins/.."};
  const Texts inner = {"plugins", "./plugins/", here + "/plugins", "../work/plugins",
                       "inner",   "../outer/",  here + "/inner",   above + "/outer"};
  for (const std::string& one : outer) {
    for (const std::string& other : inner) {
      for (const bool isInnerFirst : {false, true}) {
        ClassPath path("");
        EXPECT_TRUE(path.add(isInnerFirst ? other : one));
        EXPECT_TRUE(path.add(isInnerFirst ? one : other));
        const std::string seen = one + " and " + other;
        const Texts packages = path.packagesOf(other + "/text/Upper.ov");
        EXPECT_EQ(packages.front(), "text") << seen;
        EXPECT_EQ(std::count(packages.begin(), packages.end(), "plugins.text"), 1) << seen;
        // A link below a root is a package with the link's name.
        const Texts linked = path.packagesOf(other + "/linked/Upper.ov");
        EXPECT_EQ(linked.front(), "linked") << seen;
        EXPECT_EQ(std::count(linked.begin(), linked.end(), "plugins.linked"), 1) << seen;
      }
    }
  }
  EXPECT_EQ(ClassPath("../outer").packagesOf(here + "/plugins/text/Upper.ov"), Texts{"text"});
}

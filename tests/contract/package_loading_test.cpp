// Loading a package: which folder is used, which files are its sources, and in which order they are loaded.
#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "classloader/natives.h"
#include "tests/scripted_host/scripted_host.h"
#include "tests/scripted_host/system_calls.h"
#include "tests/scripted_host/temporary_folder.h"

using namespace scripted;
namespace fs = std::filesystem;

using Lines = std::vector<std::string>;
static const std::string contextCall = "Compiler::activeRuntimeContext()";
static const Lines searchCalls{"Runtime::getInstance()", "Runtime::getKlassPaths()"};

namespace {

class PackageLoading : public HostTest {
 protected:
  void SetUp() override {
    HostTest::SetUp();
    host().isValidPackageName.always(returns(true));
    host().load.always(nothing());
    host().roots = {files.path()};
  }

  static void load(const std::string& package) { orva_SystemClassLoader_loadPackageTypes(nullptr, package.c_str()); }

  static std::string validated(const std::string& package) {
    return "PackageLayout::isValidPackageName(\"" + package + "\")";
  }

  static Lines loads(const Lines& paths) {
    Lines lines;
    for (const std::string& path : paths) lines.push_back(loaded(path, "active"));
    return lines;
  }

  /// Loads a package and expects exactly these files to be loaded.
  static void expectLoaded(const std::string& package, const Lines& paths) {
    load(package);
    EXPECT_CALLS(validated(package), searchCalls, contextCall, loads(paths));
  }

  static void expectNotFound(const std::string& package) {
    load(package);
    EXPECT_CALLS(validated(package), searchCalls, raised("ClassNotFoundException", "Package not found: " + package));
  }

  static void expectUnreadable(const std::string& package, int error) {
    const std::string text = std::error_code(error, std::generic_category()).message();
    load(package);
    EXPECT_CALLS(validated(package), searchCalls,
                 raised("IOException", "Cannot enumerate package '" + package + "': " + text));
  }

  const TemporaryFolder files;
  const system_calls::Scope scope;
};

}  // namespace

// The name.

TEST_F(PackageLoading, ARefusedNameTouchesNothingElse) {
  host().isValidPackageName.always(returns(false));
  files.file("a/b/A.ov");
  system_calls::takeStatusQueries();
  load("a.b");
  EXPECT_CALLS(validated("a.b"), raised("ValueException", "A valid package name is required"));
  EXPECT_EQ(Lines{}, system_calls::takeStatusQueries());
}

TEST_F(PackageLoading, ANullNameIsTheEmptyName) {
  host().isValidPackageName.always(returns(false));
  orva_SystemClassLoader_loadPackageTypes(token(1), nullptr);
  EXPECT_CALLS(validated(""), raised("ValueException", "A valid package name is required"));
  load("");
  EXPECT_CALLS(validated(""), raised("ValueException", "A valid package name is required"));
}

TEST_F(PackageLoading, TheValidatorDecidesOnTheEmptyNameToo) {
  files.file("A.ov");
  expectLoaded("", {files.path("A.ov")});
}

TEST_F(PackageLoading, TheReceiverIsIgnored) {
  const std::string source = files.file("a/A.ov");
  for (void* receiver : {static_cast<void*>(nullptr), token(1)}) {
    orva_SystemClassLoader_loadPackageTypes(receiver, "a");
    EXPECT_CALLS(validated("a"), searchCalls, contextCall, loads({source}));
  }
}

TEST_F(PackageLoading, EachSegmentIsAFolder) {
  const std::string one = files.file("a/One.ov");
  const std::string two = files.file("a/b/Two.ov");
  const std::string three = files.file("a/b/c/Three.ov");
  expectLoaded("a", {one});
  expectLoaded("a.b", {two});
  expectLoaded("a.b.c", {three});
}

TEST_F(PackageLoading, EmptySegmentsAddAtMostASeparator) {
  files.file("a/b/A.ov");
  system_calls::takeStatusQueries();
  expectLoaded("a..b", {files.path("a/b/A.ov")});
  expectLoaded(".a.b", {files.path("a/b/A.ov")});
  expectLoaded("a.b.", {files.path("a/b/A.ov")});
  EXPECT_EQ((Lines{files.path("a/b"), files.path("a/b"), files.path("a/b/")}), system_calls::takeStatusQueries());
}

TEST_F(PackageLoading, NoOtherByteIsSpecial) {
  expectLoaded("a/b", (files.file("a/b/A.ov"), Lines{files.path("a/b/A.ov")}));
  expectLoaded(" x\xff", (files.file(" x\xff/A.ov"), Lines{files.path(" x\xff/A.ov")}));
  expectNotFound("a:b");
}

TEST_F(PackageLoading, ASegmentThatBeginsWithASeparatorReplacesTheRoot) {
  const TemporaryFolder elsewhere;
  const std::string source = elsewhere.file("A.ov");
  expectLoaded("a." + elsewhere.path(), {source});
}

// The folder.

TEST_F(PackageLoading, WithoutAnyRootThePackageIsNotFound) {
  host().roots = {};
  expectNotFound("a.b");
}

TEST_F(PackageLoading, WithoutItsFolderUnderAnyRootThePackageIsNotFound) {
  host().roots = {files.path("missing"), files.folder("one"), files.file("file")};
  system_calls::takeStatusQueries();
  expectNotFound("a.b");
  EXPECT_EQ((Lines{files.path("missing/a/b"), files.path("one/a/b"), files.path("file/a/b")}),
            system_calls::takeStatusQueries());
}

TEST_F(PackageLoading, TheFirstRootThatHasTheFolderIsTheOnlyOne) {
  host().roots = {files.folder("zero"), files.path("one"), files.path("two")};
  files.file("one/a/b/One.ov");
  files.file("two/a/b/Two.ov");
  system_calls::takeStatusQueries();
  expectLoaded("a.b", {files.path("one/a/b/One.ov")});
  EXPECT_EQ((Lines{files.path("zero/a/b"), files.path("one/a/b")}), system_calls::takeStatusQueries());
}

TEST_F(PackageLoading, AFirstFolderWithoutSourcesIsStillTheOnlyOne) {
  host().roots = {files.path("one"), files.path("two")};
  files.file("one/a/b/readme.txt");
  files.file("two/a/b/Two.ov");
  expectLoaded("a.b", {});
}

TEST_F(PackageLoading, WhateverIsNotAFolderIsSkipped) {
  host().roots = {files.path("one"), files.path("two"), files.path("three"), files.path("four")};
  files.file("one/a/b");
  files.link("two/a/b", "nowhere");
  files.link("three/a/b", "b");
  const std::string source = files.file("four/a/b/A.ov");
  expectLoaded("a.b", {source});
}

TEST_F(PackageLoading, ALinkToAFolderIsUsedUnderItsOwnName) {
  files.file("real/A.ov");
  files.link("a", "real");
  expectLoaded("a", {files.path("a/A.ov")});
}

TEST_F(PackageLoading, ARootWhoseStatusFailsIsSkipped) {
  host().roots = {files.path("one"), files.path("two")};
  files.file("one/a/One.ov");
  files.file("two/a/Two.ov");
  for (const int error : {EIO, EACCES, ELOOP}) {
    system_calls::failStatus("one/a", error);
    expectLoaded("a", {files.path("two/a/Two.ov")});
  }
  host().roots = {files.path("one")};
  expectNotFound("a");
}

TEST_F(PackageLoading, ANameThatIsTooLongIsNotFound) {
  expectNotFound(std::string(NAME_MAX + 1, 'n'));
  std::string deep = "a";
  while (deep.size() <= PATH_MAX) deep += ".a";
  expectNotFound(deep);
}

TEST_F(PackageLoading, ALongNameThatIsValidIsLoaded) {
  const std::string segment(NAME_MAX, 's');
  const std::string source = files.file(segment + '/' + segment + "/A.ov");
  expectLoaded(segment + '.' + segment, {source});
}

TEST_F(PackageLoading, TheRootIsUsedAsItIsStored) {
  const std::string source = files.file("a/A.ov");
  host().roots = {files.path() + '/'};
  expectLoaded("a", {source});
  files.folder("x");
  host().roots = {files.path() + "/x/..//."};
  expectLoaded("a", {files.path() + "/x/..//./a/A.ov"});
}

TEST_F(PackageLoading, AnEmptyRootIsTheWorkingFolder) {
  files.file("a/A.ov");
  files.file("a/b");
  const fs::path before = fs::current_path();
  fs::current_path(files.path());
  host().roots = {""};
  expectLoaded("a", {"a/A.ov"});
  host().roots = {"."};
  expectLoaded("a", {"./a/A.ov"});
  fs::current_path(before);
}

// The files.

TEST_F(PackageLoading, SourcesAreLoadedInTheOrderOfTheirBytes) {
  Lines expected;
  for (const char* name : {"A.ov", "A_B.ov", "B.ov", "a.ov", "aa.ov", "b.ov", "\x80.ov", "\xc3\xa4.ov", "\xff.ov"}) {
    expected.push_back(files.path("p/") + name);
  }
  for (auto path = expected.rbegin(); path != expected.rend(); ++path)
    files.file(fs::path(*path).lexically_relative(files.path()).string());
  expectLoaded("p", expected);
}

TEST_F(PackageLoading, OnlyTheExactExtensionCounts) {
  for (const char* name : {"p/x.OV", "p/x.Ov", "p/x.ov.bak", "p/.ov", "p/ov", "p/xov", "p/x.ovx", "p/x.o", "p/x.ov "}) {
    files.file(name);
  }
  const std::string hidden = files.file("p/..ov");
  const std::string dotted = files.file("p/x.y.ov");
  expectLoaded("p", {hidden, dotted});
}

TEST_F(PackageLoading, FoldersAreNeitherLoadedNorEntered) {
  files.folder("p/y.ov");
  files.file("p/y.ov/In.ov");
  files.file("p/q/Below.ov");
  const std::string source = files.file("p/A.ov");
  expectLoaded("p", {source});
}

TEST_F(PackageLoading, SpecialFilesAreSkipped) {
  files.fifo("p/fifo.ov");
  files.socket("p/socket.ov");
  files.link("p/device.ov", "/dev/null");
  const std::string source = files.file("p/A.ov");
  expectLoaded("p", {source});
}

TEST_F(PackageLoading, ALinkToARegularFileIsLoadedUnderItsOwnName) {
  files.file("elsewhere/Real.txt");
  const std::string link = files.link("p/Link.ov", "../elsewhere/Real.txt");
  files.link("p/Link.txt", "../elsewhere/Real.txt");
  expectLoaded("p", {link});
}

TEST_F(PackageLoading, LinksThatLeadToNoFileAreSkippedWithoutAnError) {
  files.link("p/dangling.ov", "nowhere");
  files.link("p/loop.ov", "loop.ov");
  files.link("p/folder.ov", ".");
  expectLoaded("p", {});
  const std::string first = files.file("p/A.ov");
  const std::string last = files.file("p/z.ov");
  expectLoaded("p", {first, last});
}

TEST_F(PackageLoading, ManySourcesAreAllLoaded) {
  Lines expected;
  for (int number = 1000; number < 1200; ++number) {
    expected.push_back(files.file("p/T" + std::to_string(number) + ".ov"));
  }
  expectLoaded("p", expected);
}

TEST_F(PackageLoading, EntriesWithoutATypeAreAskedForIt) {
  const std::string source = files.file("p/A.ov");
  const std::string link = files.link("p/L.ov", "A.ov");
  files.folder("p/folder.ov");
  files.fifo("p/fifo.ov");
  files.link("p/dangling.ov", "nowhere");
  system_calls::hideEntryTypes();
  expectLoaded("p", {source, link});
}

TEST_F(PackageLoading, EntriesWithATypeAreNotAskedForIt) {
  const std::string source = files.file("p/A.ov");
  files.folder("p/folder.ov");
  const std::string link = files.link("p/L.ov", "A.ov");
  system_calls::takeStatusQueries();
  expectLoaded("p", {source, link});
  EXPECT_EQ((Lines{files.path("p"), link}), system_calls::takeStatusQueries());
}

TEST_F(PackageLoading, AnEntryWhoseStatusFailsIsSkippedWithoutAnError) {
  const std::string first = files.file("p/A.ov");
  files.file("p/B.ov");
  const std::string last = files.file("p/C.ov");
  system_calls::hideEntryTypes();
  for (const int error : {EIO, EACCES, ENOENT}) {
    system_calls::failStatus("/B.ov", error);
    expectLoaded("p", {first, last});
  }
  system_calls::failStatus(".ov", EIO);
  expectLoaded("p", {});
}

// Folders that cannot be listed.

TEST_F(PackageLoading, AFolderThatMayNotBeReadCountsAsEmpty) {
  files.file("p/A.ov");
  fs::permissions(files.path("p"), fs::perms::none);
  {
    const WithoutRights nobody;
    expectLoaded("p", {});
  }
  fs::permissions(files.path("p"), fs::perms::owner_all);
  system_calls::failOpeningDirectory(EACCES);
  expectLoaded("p", {});
}

TEST_F(PackageLoading, AFolderThatMayNotBeReadIsStillTheOnlyOne) {
  host().roots = {files.path("one"), files.path("two")};
  files.file("one/p/One.ov");
  files.file("two/p/Two.ov");
  system_calls::failOpeningDirectory(EACCES);
  expectLoaded("p", {});
  EXPECT_EQ(1, system_calls::directoriesOpened());
}

TEST_F(PackageLoading, AFolderThatCannotBeOpenedIsAnError) {
  files.file("a/b/A.ov");
  for (const int error : {EMFILE, ENFILE, ENOMEM, EIO, ENOENT, ENOTDIR}) {
    system_calls::failOpeningDirectory(error);
    expectUnreadable("a.b", error);
  }
}

TEST_F(PackageLoading, AFailingReadIsAnErrorAndNothingIsLoaded) {
  for (const char* name : {"p/A.ov", "p/B.ov", "p/C.ov"}) files.file(name);
  // There are five entries, including "." and "..", and the sixth read finds the end.
  for (int number = 1; number <= 6; ++number) {
    system_calls::failReadingDirectory(number, EIO);
    expectUnreadable("p", EIO);
  }
  system_calls::failReadingDirectory(7, EIO);
  expectLoaded("p", {files.path("p/A.ov"), files.path("p/B.ov"), files.path("p/C.ov")});
}

TEST_F(PackageLoading, TheFolderIsOpenedAndListedOnce) {
  files.file("p/A.ov");
  files.file("p/B.ov");
  expectLoaded("p", {files.path("p/A.ov"), files.path("p/B.ov")});
  EXPECT_EQ(1, system_calls::directoriesOpened());
}

// The loads.

TEST_F(PackageLoading, AllFilesAreListedBeforeTheFirstIsLoaded) {
  const Lines sources{files.file("p/A.ov"), files.file("p/B.ov"), files.file("p/C.ov")};
  host().load.next([this] {
    fs::remove_all(files.path("p"));
    files.file("p/D.ov");
  });
  expectLoaded("p", sources);
}

TEST_F(PackageLoading, EachLoadGetsACopyOfTheOneContext) {
  files.file("p/A.ov");
  files.file("p/B.ov");
  host().activeRuntimeContext.next(returns(Host::otherContext()));
  load("p");
  EXPECT_CALLS(validated("p"), searchCalls, contextCall, loaded(files.path("p/A.ov"), "other"),
               loaded(files.path("p/B.ov"), "other"));
  // The native holds the context, and each load gets a copy; the script that supplied it holds it no longer.
  EXPECT_EQ((std::vector<long>{2, 2}), host().contextHolders);
}

TEST_F(PackageLoading, AnEmptyContextIsPassedOn) {
  files.file("p/A.ov");
  host().activeRuntimeContext.next(returns(ContextPointer()));
  load("p");
  EXPECT_CALLS(validated("p"), searchCalls, contextCall, loaded(files.path("p/A.ov"), "empty"));
}

TEST_F(PackageLoading, AFailingLoadIsTheLastOne) {
  Lines sources;
  for (const char* name : {"p/A.ov", "p/B.ov", "p/C.ov", "p/D.ov", "p/E.ov"}) sources.push_back(files.file(name));
  sources.resize(3);
  host().load.next(nothing()).next(nothing()).next(throws(CustomFailure("C.ov:1: oops")));
  host().raise.always([] { EXPECT_EQ(1, host().activeContext.use_count()); });
  load("p");
  EXPECT_CALLS(validated("p"), searchCalls, contextCall, loads(sources), raised("Exception", "C.ov:1: oops"));
  host().load.next(nothing()).next(nothing()).next(throws(5));
  load("p");
  EXPECT_CALLS(validated("p"), searchCalls, contextCall, loads(sources),
               raised("Exception", "Unknown native failure while loading package"));
}

TEST_F(PackageLoading, WhateverTheHostThrowsBeforeTheLoadsIsRaised) {
  const std::string unknown = raised("Exception", "Unknown native failure while loading package");
  files.folder("p");
  host().isValidPackageName.next(throws(std::runtime_error("no rules"))).next(throws(5));
  load("p");
  EXPECT_CALLS(validated("p"), raised("Exception", "no rules"));
  load("p");
  EXPECT_CALLS(validated("p"), unknown);
  host().getInstance.next(throws(std::runtime_error("no runtime")));
  load("p");
  EXPECT_CALLS(validated("p"), "Runtime::getInstance()", raised("Exception", "no runtime"));
  host().getKlassPaths.next(throws('c'));
  load("p");
  EXPECT_CALLS(validated("p"), searchCalls, unknown);
  host().activeRuntimeContext.next(throws(CustomFailure("")));
  load("p");
  EXPECT_CALLS(validated("p"), searchCalls, contextCall, raised("Exception", ""));
}

TEST_F(PackageLoading, WhatARaiseInTheBodyThrowsIsBridged) {
  const std::string invalid = raised("ValueException", "A valid package name is required");
  host().isValidPackageName.always(returns(false));
  host().raise.next(throws(std::logic_error("raise 1"))).next(nothing()).next(throws(5)).next(nothing());
  load("p");
  EXPECT_CALLS(validated("p"), invalid, raised("Exception", "raise 1"));
  load("p");
  EXPECT_CALLS(validated("p"), invalid, raised("Exception", "Unknown native failure while loading package"));
}

TEST_F(PackageLoading, WhatARaiseOfTheOtherChecksThrowsIsBridged) {
  const std::string missing = raised("ClassNotFoundException", "Package not found: missing");
  host().raise.next(throws(std::logic_error("raise 1"))).next(nothing());
  load("missing");
  EXPECT_CALLS(validated("missing"), searchCalls, missing, raised("Exception", "raise 1"));
  files.folder("p");
  system_calls::failOpeningDirectory(EMFILE);
  host().raise.next(throws(std::logic_error("raise 2"))).next(nothing());
  load("p");
  EXPECT_CALLS(validated("p"), searchCalls, raised("IOException", "Cannot enumerate package 'p': Too many open files"),
               raised("Exception", "raise 2"));
}

TEST_F(PackageLoading, WhatARaiseOfTheBridgeThrowsPasses) {
  const std::string unknown = raised("Exception", "Unknown native failure while loading package");
  host().isValidPackageName.next(throws(std::runtime_error("oops"))).next(throws(5)).next(throws(6));
  host().raise.next(throws(7)).next(throws('c')).next(throws(std::logic_error("raise 3")));
  EXPECT_THROWS_VALUE(load("p"), int, 7);
  EXPECT_CALLS(validated("p"), raised("Exception", "oops"));
  EXPECT_THROWS_VALUE(load("p"), char, 'c');
  EXPECT_CALLS(validated("p"), unknown);
  EXPECT_THROWS_TEXT(load("p"), std::logic_error, "raise 3");
  EXPECT_CALLS(validated("p"), unknown);
}

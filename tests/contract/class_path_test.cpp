// Class path roots: the calls to the runtime and to the file system. Also compiling sources ahead of their use.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "classloader/natives.h"
#include "tests/scripted_host/scripted_host.h"
#include "tests/scripted_host/standard_library.h"
#include "tests/scripted_host/system_calls.h"
#include "tests/scripted_host/temporary_folder.h"

using namespace scripted;

using Lines = std::vector<std::string>;

namespace {

class AddSourceRoot : public HostTest {
 protected:
  static Lines asked(const std::string& root) {
    return sequence("Runtime::getInstance()", "Runtime::addKlassPath(\"" + root + "\")");
  }

  /// Adds a root that the runtime refuses.
  static int64_t addRefused(const std::string& root) {
    host().addKlassPath.next(returns(false));
    return orva_ClassLoader_addSourceRoot(root.c_str());
  }

  static void expectMissing(const std::string& root) {
    EXPECT_EQ(0, addRefused(root));
    EXPECT_CALLS(asked(root), raised("IOException", "Class path root does not exist: " + root));
  }

  static void expectQuietRefusal(const std::string& root) {
    EXPECT_EQ(0, addRefused(root));
    EXPECT_CALLS(asked(root));
  }

  const TemporaryFolder files;
  const system_calls::Scope scope;
};

}  // namespace

TEST_F(AddSourceRoot, ANullOrEmptyRootTouchesNothing) {
  EXPECT_EQ(0, orva_ClassLoader_addSourceRoot(nullptr));
  EXPECT_CALLS(raised("ValueException", "Class path root is required"));
  EXPECT_EQ(0, orva_ClassLoader_addSourceRoot(""));
  EXPECT_CALLS(raised("ValueException", "Class path root is required"));
}

TEST_F(AddSourceRoot, AnAcceptedRootInvalidatesTheCachesOnce) {
  host().addKlassPath.next(returns(true));
  EXPECT_EQ(1, orva_ClassLoader_addSourceRoot(files.path().c_str()));
  EXPECT_CALLS(asked(files.path()), "ClassLoader::invalidateKlassPathCaches()");
}

TEST_F(AddSourceRoot, AnAcceptedRootIsNeverLookedAt) {
  for (const std::string& root : {files.path("missing"), files.file("file"), files.path()}) {
    system_calls::takeStatusQueries();
    host().addKlassPath.next(returns(true));
    EXPECT_EQ(1, orva_ClassLoader_addSourceRoot(root.c_str()));
    EXPECT_CALLS(asked(root), "ClassLoader::invalidateKlassPathCaches()");
    EXPECT_EQ(Lines{}, system_calls::takeStatusQueries());
  }
}

TEST_F(AddSourceRoot, TheTextReachesTheRuntimeUnchanged) {
  const std::string longRoot(300, 'r');
  for (const std::string& root : {std::string("dir/"), std::string(" ../a//b/. "), std::string("\xff\\x"), longRoot}) {
    host().addKlassPath.next(returns(true));
    EXPECT_EQ(1, orva_ClassLoader_addSourceRoot(root.c_str()));
    EXPECT_CALLS(asked(root), "ClassLoader::invalidateKlassPathCaches()");
  }
}

TEST_F(AddSourceRoot, ARefusedDirectoryIsAQuietRefusal) {
  expectQuietRefusal(files.path());
  expectQuietRefusal(files.path() + "/");
  expectQuietRefusal(files.link("link", files.folder("folder")));
}

TEST_F(AddSourceRoot, ARefusedRootThatIsMissingIsAnError) {
  expectMissing(files.path("missing"));
  EXPECT_EQ(Lines{files.path("missing")}, system_calls::takeStatusQueries());
  expectMissing(files.path("missing/"));
  expectMissing(files.link("dangling", "nowhere"));
  expectMissing(files.file("file") + "/below");
  expectMissing(std::string(5000, 'p'));
}

TEST_F(AddSourceRoot, ARefusedRootThatIsNotADirectoryIsAnError) {
  expectMissing(files.file("file"));
  expectMissing(files.fifo("fifo"));
  expectMissing(files.socket("socket"));
  expectMissing(files.link("link", files.path("file")));
  expectMissing("/dev/null");
}

TEST_F(AddSourceRoot, ARefusedRootThatMayNotBeLookedAtIsAnError) {
  expectMissing(files.link("loop", "loop"));
  const std::string below = files.folder("closed/below");
  std::filesystem::permissions(files.path("closed"), std::filesystem::perms::none);
  {
    const WithoutRights nobody;
    expectMissing(below);
  }
  std::filesystem::permissions(files.path("closed"), std::filesystem::perms::owner_all);
}

TEST_F(AddSourceRoot, TheFileSystemIsAskedTwiceAndOnlyAfterARefusal) {
  host().addKlassPath.next([] {
    EXPECT_EQ(Lines{}, system_calls::takeStatusQueries());
    return false;
  });
  EXPECT_EQ(0, orva_ClassLoader_addSourceRoot(files.path().c_str()));
  EXPECT_CALLS(asked(files.path()));
  EXPECT_EQ((Lines{files.path(), files.path()}), system_calls::takeStatusQueries());
}

TEST_F(AddSourceRoot, EitherFailingQueryIsAnError) {
  for (const int query : {1, 2}) {
    for (const int error : {EIO, ENOENT, EACCES, ELOOP}) {
      system_calls::failStatusQuery(query, error);
      expectMissing(files.path());
    }
  }
}

TEST_F(AddSourceRoot, ARootWhoseKindStaysUnknownIsAnError) {
  for (const int error : {EIO, EOVERFLOW}) {
    system_calls::failStatus(files.path(), error);
    expectMissing(files.path());
  }
}

TEST_F(AddSourceRoot, ADirectoryThatVanishesBeforeTheRefusalIsAnError) {
  const std::string root = files.folder("vanishing");
  host().addKlassPath.next([](const std::string& path) {
    std::filesystem::remove(path);
    return false;
  });
  EXPECT_EQ(0, orva_ClassLoader_addSourceRoot(root.c_str()));
  EXPECT_CALLS(asked(root), raised("IOException", "Class path root does not exist: " + root));
}

TEST_F(AddSourceRoot, WhatTheRuntimeThrowsPasses) {
  host().getInstance.next(throws(std::runtime_error("no runtime")));
  EXPECT_THROWS_TEXT(orva_ClassLoader_addSourceRoot("a"), std::runtime_error, "no runtime");
  EXPECT_CALLS("Runtime::getInstance()");
  host().addKlassPath.next(throws(std::runtime_error("no path"))).next(throws(5));
  EXPECT_THROWS_TEXT(orva_ClassLoader_addSourceRoot("a"), std::runtime_error, "no path");
  EXPECT_CALLS(asked("a"));
  EXPECT_THROWS_VALUE(orva_ClassLoader_addSourceRoot("a"), int, 5);
  EXPECT_CALLS(asked("a"));
}

TEST_F(AddSourceRoot, WhatTheInvalidationThrowsPasses) {
  host().addKlassPath.always(returns(true));
  host().invalidateCaches.next(throws(std::runtime_error("no caches"))).next(throws(5));
  EXPECT_THROWS_TEXT(orva_ClassLoader_addSourceRoot("a"), std::runtime_error, "no caches");
  EXPECT_CALLS(asked("a"), "ClassLoader::invalidateKlassPathCaches()");
  EXPECT_THROWS_VALUE(orva_ClassLoader_addSourceRoot("a"), int, 5);
  EXPECT_CALLS(asked("a"), "ClassLoader::invalidateKlassPathCaches()");
}

TEST_F(AddSourceRoot, WhatARaiseThrowsPasses) {
  host().raise.next(throws(std::runtime_error("raise 1"))).next(throws(5));
  EXPECT_THROWS_TEXT(orva_ClassLoader_addSourceRoot(nullptr), std::runtime_error, "raise 1");
  EXPECT_CALLS(raised("ValueException", "Class path root is required"));
  const std::string root = files.path("missing");
  EXPECT_THROWS_VALUE(addRefused(root), int, 5);
  EXPECT_CALLS(asked(root), raised("IOException", "Class path root does not exist: " + root));
}

namespace {

class PrecompileSources : public HostTest {
 protected:
  static std::string precompiled(const std::string& files, const std::string& context = "active") {
    return "Compiler::precompileSources({" + files + "}, " + context + ", no listener)";
  }
  static constexpr const char* contextCall = "Compiler::activeRuntimeContext()";
};

}  // namespace

TEST_F(PrecompileSources, TheListReachesTheCompilerInOrder) {
  host().precompile.next(nothing());
  orva_ClassLoader_precompileSources(host().list("files", {"b.ov", "", "a.ov", "b.ov", " x "}));
  EXPECT_CALLS(listRead("files", 5), contextCall, precompiled(R"("b.ov", "", "a.ov", "b.ov", " x ")"));
}

TEST_F(PrecompileSources, AnEmptyListReachesTheCompiler) {
  host().precompile.always(nothing());
  orva_ClassLoader_precompileSources(host().list("files", {}));
  EXPECT_CALLS(listRead("files", 0), contextCall, precompiled(""));
  orva_ClassLoader_precompileSources(host().list("files", {}, -3));
  EXPECT_CALLS(listRead("files", 0), contextCall, precompiled(""));
}

TEST_F(PrecompileSources, TheContextIsPassedOnAsItComes) {
  host().precompile.always(nothing());
  host().activeRuntimeContext.next(returns(ContextPointer())).next(returns(Host::otherContext()));
  orva_ClassLoader_precompileSources(host().list("files", {}));
  EXPECT_CALLS(listRead("files", 0), contextCall, precompiled("", "empty"));
  orva_ClassLoader_precompileSources(host().list("files", {}));
  EXPECT_CALLS(listRead("files", 0), contextCall, precompiled("", "other"));
}

TEST_F(PrecompileSources, AMissingListIsAnExceptionOfTheBridge) {
  orva_ClassLoader_precompileSources(nullptr);
  EXPECT_CALLS(raised("Exception", "Source filename list is required"));
}

TEST_F(PrecompileSources, ANullElementCompilesNothing) {
  orva_ClassLoader_precompileSources(host().list("files", {"a.ov", std::nullopt, "c.ov"}));
  EXPECT_CALLS(listRead("files", 2), raised("Exception", "Source filename list cannot contain null"));
}

TEST_F(PrecompileSources, AnImpossibleSizeIsRaised) {
  orva_ClassLoader_precompileSources(host().list("files", {}, std::numeric_limits<int64_t>::max()));
  EXPECT_CALLS(listRead("files", 0), raised("Exception", standard_library::impossibleReservation()));
}

TEST_F(PrecompileSources, AFailingContextCompilesNothing) {
  host().activeRuntimeContext.next(throws(std::runtime_error("no engine")));
  orva_ClassLoader_precompileSources(host().list("files", {}));
  EXPECT_CALLS(listRead("files", 0), contextCall, raised("Exception", "no engine"));
}

TEST_F(PrecompileSources, TheCompilersTextIsRaisedUnchanged) {
  host().precompile.next(throws(CustomFailure("a.ov:1: oops"))).next(throws(CustomFailure("")));
  host().raise.always([] { EXPECT_EQ(1, host().activeContext.use_count()); });
  orva_ClassLoader_precompileSources(host().list("files", {"a.ov"}));
  EXPECT_CALLS(listRead("files", 1), contextCall, precompiled("\"a.ov\""), raised("Exception", "a.ov:1: oops"));
  orva_ClassLoader_precompileSources(host().list("files", {"a.ov"}));
  EXPECT_CALLS(listRead("files", 1), contextCall, precompiled("\"a.ov\""), raised("Exception", ""));
}

TEST_F(PrecompileSources, OtherObjectsPass) {
  host().precompile.next(throws(5));
  EXPECT_THROWS_VALUE(orva_ClassLoader_precompileSources(host().list("files", {})), int, 5);
  EXPECT_CALLS(listRead("files", 0), contextCall, precompiled(""));
  host().listSize.next(throws(std::string("text")));
  EXPECT_THROWS_VALUE(orva_ClassLoader_precompileSources(host().list("files", {})), std::string, "text");
  EXPECT_CALLS(listRead("files", 0));
}

TEST_F(PrecompileSources, WhatARaiseThrowsPasses) {
  host().raise.next(throws(std::runtime_error("raise 1"))).next(throws(5));
  EXPECT_THROWS_TEXT(orva_ClassLoader_precompileSources(nullptr), std::runtime_error, "raise 1");
  EXPECT_THROWS_VALUE(orva_ClassLoader_precompileSources(nullptr), int, 5);
  EXPECT_CALLS(raised("Exception", "Source filename list is required"),
               raised("Exception", "Source filename list is required"));
}

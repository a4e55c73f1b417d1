// The system class loader: what the first calls do, and what the library keeps. Each history runs in its own process,
// because the state lasts as long as the process.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "classloader/natives.h"
#include "tests/scripted_host/scripted_host.h"

using namespace scripted;

using Lines = std::vector<std::string>;
static const Lines askCalls{"Runtime::getInstance()", "Runtime::getStandardLibraryPath()"};
static const std::string firstLoad = loaded("/lib/std/orva/ClassLoader.ov", "empty");
static const std::string secondLoad = loaded("/lib/std/orva/SystemClassLoader.ov", "empty");
static const std::string allocation = "Orva_allocObject(\"SystemClassLoader\")";
static const std::string unknownFailure =
    raised("Exception", "Unknown native failure while initializing the system class loader");

namespace {

class SystemClassLoader : public HostTest {
 protected:
  void SetUp() override {
    HostTest::SetUp();
    host().standardLibraryPath.always(returns(std::string("/lib/std")));
  }

  /// Makes every load and allocation succeed unless it is scripted otherwise.
  static void letAllSucceed() {
    host().load.always(nothing());
    host().allocObject.always(returns(token(5)));
  }

  static void expectFirstCall() {
    EXPECT_EQ(token(5), orva_ClassLoader_getSystem());
    EXPECT_CALLS(askCalls, firstLoad, secondLoad, allocation);
  }

  static void expectAllocationOnly() {
    EXPECT_EQ(token(5), orva_ClassLoader_getSystem());
    EXPECT_CALLS(allocation);
  }

  static void expectCached() {
    EXPECT_EQ(token(5), orva_ClassLoader_getSystem());
    EXPECT_CALLS();
  }

  static void expectNull(const Lines& calls) {
    EXPECT_EQ(nullptr, orva_ClassLoader_getSystem());
    EXPECT_CALLS(calls);
  }
};

}  // namespace

TEST_F(SystemClassLoader, TheFirstCallLoadsBothSourcesAndAllocates) {
  inOwnProcess([] {
    letAllSucceed();
    expectFirstCall();
    expectCached();
    expectCached();
  });
}

TEST_F(SystemClassLoader, TheRootIsJoinedWithoutADoubledSeparator) {
  const std::vector<std::vector<std::string>> rootsAndFolders{
      {"/lib/std/", "/lib/std/orva"}, {"std", "std/orva"}, {"/", "/orva"}, {"/a//b/../", "/a//b/../orva"}};
  for (const auto& rootAndFolder : rootsAndFolders) {
    inOwnProcess([&rootAndFolder] {
      letAllSucceed();
      host().standardLibraryPath.always(returns(rootAndFolder[0]));
      EXPECT_EQ(token(5), orva_ClassLoader_getSystem());
      EXPECT_CALLS(askCalls, loaded(rootAndFolder[1] + "/ClassLoader.ov", "empty"),
                   loaded(rootAndFolder[1] + "/SystemClassLoader.ov", "empty"), allocation);
    });
  }
}

TEST_F(SystemClassLoader, WithoutAStandardLibraryOnlyTheObjectIsAllocated) {
  inOwnProcess([] {
    host().standardLibraryPath.always(returns(std::string()));
    host().allocObject.always(returns(token(5)));
    EXPECT_EQ(token(5), orva_ClassLoader_getSystem());
    EXPECT_CALLS(askCalls, allocation);
    expectCached();
  });
}

TEST_F(SystemClassLoader, AnEmptyLibraryPathIsAskedForAgainWhileThereIsNoObject) {
  inOwnProcess([] {
    letAllSucceed();
    host().standardLibraryPath.next(returns(std::string()));
    host().allocObject.next(returns(static_cast<void*>(nullptr)));
    expectNull(sequence(askCalls, allocation));
    expectFirstCall();
    expectCached();
  });
}

TEST_F(SystemClassLoader, ANullObjectIsReturnedSilentlyAndTheNextCallTriesAgain) {
  inOwnProcess([] {
    letAllSucceed();
    host().allocObject.next(returns(static_cast<void*>(nullptr))).next(returns(static_cast<void*>(nullptr)));
    expectNull(sequence(askCalls, firstLoad, secondLoad, allocation));
    expectNull(Lines{allocation});
    expectAllocationOnly();
    expectCached();
  });
}

TEST_F(SystemClassLoader, AFailingLoadIsRaisedAndTheNextCallRepeatsBoth) {
  inOwnProcess([] {
    letAllSucceed();
    host().load.next(throws(std::runtime_error("oops"))).next(throws(5));
    host().load.next(nothing()).next(throws(CustomFailure("")));
    host().load.next(nothing()).next(throws(std::string("text")));
    expectNull(sequence(askCalls, firstLoad, raised("Exception", "oops")));
    expectNull(sequence(askCalls, firstLoad, unknownFailure));
    expectNull(sequence(askCalls, firstLoad, secondLoad, raised("Exception", "")));
    expectNull(sequence(askCalls, firstLoad, secondLoad, unknownFailure));
    expectFirstCall();
    expectCached();
  });
}

TEST_F(SystemClassLoader, AFailingAllocationIsRaisedAndTheSourcesStayLoaded) {
  inOwnProcess([] {
    letAllSucceed();
    host().allocObject.next(throws(std::runtime_error("no memory"))).next(throws(5));
    expectNull(sequence(askCalls, firstLoad, secondLoad, allocation, raised("Exception", "no memory")));
    expectNull(sequence(allocation, unknownFailure));
    expectAllocationOnly();
    expectCached();
  });
}

TEST_F(SystemClassLoader, AFailingRuntimeIsRaised) {
  inOwnProcess([] {
    letAllSucceed();
    host().getInstance.next(throws(std::runtime_error("no runtime")));
    expectNull({"Runtime::getInstance()", raised("Exception", "no runtime")});
    host().standardLibraryPath.next(throws(std::runtime_error("no path"))).next(throws(5));
    expectNull(sequence(askCalls, raised("Exception", "no path")));
    expectNull(sequence(askCalls, unknownFailure));
    expectFirstCall();
  });
}

TEST_F(SystemClassLoader, WhatARaiseThrowsPassesAndTheNextCallTriesAgain) {
  inOwnProcess([] {
    letAllSucceed();
    host().load.next(throws(std::runtime_error("oops"))).next(throws('c'));
    host().raise.next(throws(5)).next(throws(std::logic_error("raise 2")));
    EXPECT_THROWS_VALUE(orva_ClassLoader_getSystem(), int, 5);
    EXPECT_CALLS(askCalls, firstLoad, raised("Exception", "oops"));
    EXPECT_THROWS_TEXT(orva_ClassLoader_getSystem(), std::logic_error, "raise 2");
    EXPECT_CALLS(askCalls, firstLoad, unknownFailure);
    expectFirstCall();
  });
}

TEST_F(SystemClassLoader, EachOfSeveralFirstCallersGetsItsOwnObjectAndTheLastIsKept) {
  inOwnProcess([] {
    letAllSucceed();
    host().allocObject.next([] {
      EXPECT_EQ(token(6), orva_ClassLoader_getSystem());
      return token(5);
    });
    host().allocObject.next(returns(token(6)));
    EXPECT_EQ(token(5), orva_ClassLoader_getSystem());
    EXPECT_CALLS(askCalls, firstLoad, secondLoad, allocation, allocation);
    expectCached();
  });
}

TEST_F(SystemClassLoader, ACallDuringTheLoadsLoadsForItself) {
  inOwnProcess([] {
    letAllSucceed();
    host().allocObject.next(returns(token(6)));
    host().load.next([] { EXPECT_EQ(token(6), orva_ClassLoader_getSystem()); });
    EXPECT_EQ(token(5), orva_ClassLoader_getSystem());
    EXPECT_CALLS(askCalls, firstLoad, askCalls, firstLoad, secondLoad, allocation, secondLoad, allocation);
    expectCached();
  });
}

TEST_F(SystemClassLoader, ACallDuringTheSecondLoadLoadsBothAgain) {
  inOwnProcess([] {
    letAllSucceed();
    host().allocObject.next(returns(token(6)));
    host().load.next(nothing()).next([] { EXPECT_EQ(token(6), orva_ClassLoader_getSystem()); });
    EXPECT_EQ(token(5), orva_ClassLoader_getSystem());
    EXPECT_CALLS(askCalls, firstLoad, secondLoad, askCalls, firstLoad, secondLoad, allocation, allocation);
    expectCached();
  });
}

TEST_F(SystemClassLoader, AFailureKeepsTheObjectThatAnotherCallAllocated) {
  inOwnProcess([] {
    letAllSucceed();
    host().load.next([] {
      EXPECT_EQ(token(5), orva_ClassLoader_getSystem());
      throw std::runtime_error("oops");
    });
    EXPECT_EQ(nullptr, orva_ClassLoader_getSystem());
    EXPECT_CALLS(askCalls, firstLoad, askCalls, firstLoad, secondLoad, allocation, raised("Exception", "oops"));
    expectCached();
  });
}

TEST_F(SystemClassLoader, SourcesThatAnotherCallLoadedStayLoaded) {
  inOwnProcess([] {
    letAllSucceed();
    host().allocObject.next(returns(static_cast<void*>(nullptr))).next(returns(static_cast<void*>(nullptr)));
    host().standardLibraryPath.next([] {
      EXPECT_EQ(nullptr, orva_ClassLoader_getSystem());
      return std::string();
    });
    EXPECT_EQ(nullptr, orva_ClassLoader_getSystem());
    EXPECT_CALLS(askCalls, askCalls, firstLoad, secondLoad, allocation, allocation);
    expectAllocationOnly();
  });
}

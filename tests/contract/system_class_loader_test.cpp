// The system class loader: what its first calls do, and what stays. Each history runs in a process of its own, since
// the state lasts as long as the process.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "classloader/natives.h"
#include "tests/scripted_host/scripted_host.h"

using namespace scripted;

namespace {

using Lines = std::vector<std::string>;
const Lines kAsked{"Runtime::getInstance()", "Runtime::getStandardLibraryPath()"};
const std::string kFirst = loaded("/lib/std/orva/ClassLoader.ov", "empty");
const std::string kSecond = loaded("/lib/std/orva/SystemClassLoader.ov", "empty");
const std::string kAllocated = "Orva_allocObject(\"SystemClassLoader\")";
const std::string kUnknownFailure =
    raised("Exception", "Unknown native failure while initializing the system class loader");

class SystemClassLoader : public HostTest {
 protected:
  void SetUp() override {
    HostTest::SetUp();
    host().standardLibraryPath.always(returns(std::string("/lib/std")));
  }

  /// Lets every load and allocation succeed that is not scripted otherwise.
  static void letAllSucceed() {
    host().load.always(nothing());
    host().allocObject.always(returns(token(5)));
  }

  static void expectFirstCall() {
    EXPECT_EQ(token(5), orva_ClassLoader_getSystem());
    EXPECT_CALLS(kAsked, kFirst, kSecond, kAllocated);
  }

  static void expectAllocationOnly() {
    EXPECT_EQ(token(5), orva_ClassLoader_getSystem());
    EXPECT_CALLS(kAllocated);
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
      EXPECT_CALLS(kAsked, loaded(rootAndFolder[1] + "/ClassLoader.ov", "empty"),
                   loaded(rootAndFolder[1] + "/SystemClassLoader.ov", "empty"), kAllocated);
    });
  }
}

TEST_F(SystemClassLoader, WithoutAStandardLibraryOnlyTheObjectIsMade) {
  inOwnProcess([] {
    host().standardLibraryPath.always(returns(std::string()));
    host().allocObject.always(returns(token(5)));
    EXPECT_EQ(token(5), orva_ClassLoader_getSystem());
    EXPECT_CALLS(kAsked, kAllocated);
    expectCached();
  });
}

TEST_F(SystemClassLoader, AnEmptyLibraryPathIsAskedForAgainWhileThereIsNoObject) {
  inOwnProcess([] {
    letAllSucceed();
    host().standardLibraryPath.next(returns(std::string()));
    host().allocObject.next(returns(static_cast<void*>(nullptr)));
    expectNull(sequence(kAsked, kAllocated));
    expectFirstCall();
    expectCached();
  });
}

TEST_F(SystemClassLoader, ANullObjectIsHandedOutSilentlyAndTriedAgain) {
  inOwnProcess([] {
    letAllSucceed();
    host().allocObject.next(returns(static_cast<void*>(nullptr))).next(returns(static_cast<void*>(nullptr)));
    expectNull(sequence(kAsked, kFirst, kSecond, kAllocated));
    expectNull(Lines{kAllocated});
    expectAllocationOnly();
    expectCached();
  });
}

TEST_F(SystemClassLoader, AFailingFirstLoadIsRaisedAndTriedAgain) {
  inOwnProcess([] {
    letAllSucceed();
    host().load.next(throws(std::runtime_error("oops")));
    expectNull(sequence(kAsked, kFirst, raised("Exception", "oops")));
    expectFirstCall();
    expectCached();
  });
}

TEST_F(SystemClassLoader, AFailingSecondLoadIsRaisedAndBothAreTriedAgain) {
  inOwnProcess([] {
    letAllSucceed();
    host().load.next(nothing()).next(throws(CustomFailure("")));
    expectNull(sequence(kAsked, kFirst, kSecond, raised("Exception", "")));
    expectFirstCall();
    expectCached();
  });
}

TEST_F(SystemClassLoader, AFailingAllocationIsRaisedAndTheSourcesStayLoaded) {
  inOwnProcess([] {
    letAllSucceed();
    host().allocObject.next(throws(std::runtime_error("no memory"))).next(throws(5));
    expectNull(sequence(kAsked, kFirst, kSecond, kAllocated, raised("Exception", "no memory")));
    expectNull(sequence(kAllocated, kUnknownFailure));
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
    expectNull(sequence(kAsked, raised("Exception", "no path")));
    expectNull(sequence(kAsked, kUnknownFailure));
    expectFirstCall();
  });
}

TEST_F(SystemClassLoader, AnyOtherObjectIsRaisedWithTheFixedText) {
  inOwnProcess([] {
    letAllSucceed();
    host().load.next(throws(5)).next(nothing()).next(throws(std::string("text")));
    expectNull(sequence(kAsked, kFirst, kUnknownFailure));
    expectNull(sequence(kAsked, kFirst, kSecond, kUnknownFailure));
    expectFirstCall();
  });
}

TEST_F(SystemClassLoader, WhatARaiseThrowsPassesAndTheNextCallTriesAgain) {
  inOwnProcess([] {
    letAllSucceed();
    host().load.next(throws(std::runtime_error("oops"))).next(throws('c'));
    host().raise.next(throws(5)).next(throws(std::logic_error("raise 2")));
    EXPECT_THROWS_VALUE(orva_ClassLoader_getSystem(), int, 5);
    EXPECT_CALLS(kAsked, kFirst, raised("Exception", "oops"));
    EXPECT_THROWS_TEXT(orva_ClassLoader_getSystem(), std::logic_error, "raise 2");
    EXPECT_CALLS(kAsked, kFirst, kUnknownFailure);
    expectFirstCall();
  });
}

TEST_F(SystemClassLoader, EachOfSeveralFirstCallersGetsItsOwnObjectAndTheLastStays) {
  inOwnProcess([] {
    letAllSucceed();
    host().allocObject.next([] {
      EXPECT_EQ(token(6), orva_ClassLoader_getSystem());
      return token(5);
    });
    host().allocObject.next(returns(token(6)));
    EXPECT_EQ(token(5), orva_ClassLoader_getSystem());
    EXPECT_CALLS(kAsked, kFirst, kSecond, kAllocated, kAllocated);
    expectCached();
  });
}

TEST_F(SystemClassLoader, ACallDuringTheLoadsLoadsForItself) {
  inOwnProcess([] {
    letAllSucceed();
    host().allocObject.next(returns(token(6)));
    host().load.next([] { EXPECT_EQ(token(6), orva_ClassLoader_getSystem()); });
    EXPECT_EQ(token(5), orva_ClassLoader_getSystem());
    EXPECT_CALLS(kAsked, kFirst, kAsked, kFirst, kSecond, kAllocated, kSecond, kAllocated);
    expectCached();
  });
}

TEST_F(SystemClassLoader, ACallDuringTheSecondLoadLoadsBothAgain) {
  inOwnProcess([] {
    letAllSucceed();
    host().allocObject.next(returns(token(6)));
    host().load.next(nothing()).next([] { EXPECT_EQ(token(6), orva_ClassLoader_getSystem()); });
    EXPECT_EQ(token(5), orva_ClassLoader_getSystem());
    EXPECT_CALLS(kAsked, kFirst, kSecond, kAsked, kFirst, kSecond, kAllocated, kAllocated);
    expectCached();
  });
}

TEST_F(SystemClassLoader, AFailureKeepsAnObjectThatAnotherCallMade) {
  inOwnProcess([] {
    letAllSucceed();
    host().load.next([] {
      EXPECT_EQ(token(5), orva_ClassLoader_getSystem());
      throw std::runtime_error("oops");
    });
    EXPECT_EQ(nullptr, orva_ClassLoader_getSystem());
    EXPECT_CALLS(kAsked, kFirst, kAsked, kFirst, kSecond, kAllocated, raised("Exception", "oops"));
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
    EXPECT_CALLS(kAsked, kAsked, kFirst, kSecond, kAllocated, kAllocated);
    expectAllocationOnly();
  });
}

}  // namespace

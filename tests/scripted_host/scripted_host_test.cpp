// The scripted host itself records, answers, and fails a test when it should.
#include "tests/scripted_host/scripted_host.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>
#include <cstdlib>
#include <future>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace scripted;

using Lines = std::vector<std::string>;
using orva::compiler::Compiler;
using orva::compiler::Runtime;
using CompilerClassLoader = orva::compiler::ClassLoader;

namespace {

class ScriptedHost : public HostTest {};

}  // namespace

TEST_F(ScriptedHost, RecordsCallsInOrderWithTheirArguments) {
  host().load.always(nothing());
  host().typeByName.always(returns(token(1)));
  Orva_raise("Exception", "text");
  EXPECT_EQ(token(1), Orva_typeByName(nullptr));
  Compiler::ensureSourceLoadedInActiveJit("/A.ov", host().activeContext);
  Compiler::ensureSourceLoadedInActiveJit("/B.ov", nullptr);
  Compiler::ensureSourceLoadedInActiveJit("/C.ov", Host::otherContext());
  EXPECT_EQ((Lines{"Orva_raise(\"Exception\", \"text\")", "Orva_typeByName(null)",
                   "Compiler::ensureSourceLoadedInActiveJit(\"/A.ov\", active)",
                   "Compiler::ensureSourceLoadedInActiveJit(\"/B.ov\", empty)",
                   "Compiler::ensureSourceLoadedInActiveJit(\"/C.ov\", other)"}),
            host().takeCalls());
  EXPECT_EQ(Lines{}, host().takeCalls());
}

TEST_F(ScriptedHost, ShowsACallAtItsStartWhereItMayFail) {
  host().onCall = [](const std::string& line) {
    EXPECT_TRUE(HostsTurn::isNow());
    if (line == typeByName("a.B")) throw 5;
  };
  Orva_raise("Exception", "text");
  EXPECT_THROWS_VALUE(Orva_typeByName("a.B"), int, 5);
  EXPECT_FALSE(HostsTurn::isNow());
  EXPECT_CALLS(raised("Exception", "text"));
}

TEST_F(ScriptedHost, BuildsTheLinesThatItRecords) {
  EXPECT_EQ("Orva_raise(\"C\", \"m\")", raised("C", "m"));
  EXPECT_EQ("Orva_typeByName(\"a.B\")", typeByName("a.B"));
  EXPECT_EQ("Compiler::ensureSourceLoadedInActiveJit(\"/A.ov\", active)", loaded("/A.ov", "active"));
  EXPECT_EQ((Lines{"Reflection_getTypeCount()", "Reflection_getTypeName(0)", "Reflection_getTypeFullName(0)",
                   "Reflection_getTypeName(1)", "Reflection_getTypeFullName(1)"}),
            scan(2));
  EXPECT_EQ(Lines{"Reflection_getTypeCount()"}, scan(0));
  EXPECT_EQ((Lines{"orva_collections_ArrayList_size(l)", "orva_collections_ArrayList_operator_index(l, 0)"}),
            listRead("l", 1));
  EXPECT_EQ((Lines{"a", "b", "c", "d"}), sequence("a", Lines{"b", "c"}, std::string("d")));
  EXPECT_EQ("a\nb\n", joined({"a", "b"}));
}

TEST_F(ScriptedHost, ComparesWholeSequences) {
  EXPECT_TRUE(sameCalls({"a", "b"}, {"a", "b"}));
  EXPECT_FALSE(sameCalls({"a", "b"}, {"b", "a"}));
  EXPECT_FALSE(sameCalls({"a", "b"}, {"a"}));
  EXPECT_FALSE(sameCalls({"a"}, {"a", "b"}));
  EXPECT_STREQ("expected these calls:\na\nbut got:\nb\n", sameCalls({"a"}, {"b"}).message());
  host().record("a");
  EXPECT_NONFATAL_FAILURE(EXPECT_CALLS("b"), "but got:\na");
}

TEST_F(ScriptedHost, PlaysQueuedAnswersBeforeTheOneForAllOthers) {
  host().objectAbiVersion.always(returns(9));
  host().objectAbiVersion.next(returns(1)).next(throws(5)).next(throws(CustomFailure("own")));
  EXPECT_EQ(1, Compiler::objectAbiVersion());
  EXPECT_THROWS_VALUE(Compiler::objectAbiVersion(), int, 5);
  EXPECT_THROWS_TEXT(Compiler::objectAbiVersion(), CustomFailure, "own");
  EXPECT_EQ(9, Compiler::objectAbiVersion());
  EXPECT_EQ(9, Compiler::objectAbiVersion());
  EXPECT_EQ(5U, host().takeCalls().size());
}

TEST_F(ScriptedHost, PassesAStepTheArgumentsThatItAccepts) {
  host().addKlassPath.next([](const std::string& root) { return root == "yes"; });
  host().addKlassPath.next([](const std::string& root) { return root == "yes"; });
  EXPECT_TRUE(Runtime::getInstance().addKlassPath("yes"));
  EXPECT_FALSE(Runtime::getInstance().addKlassPath("no"));
  EXPECT_CALLS("Runtime::getInstance()", "Runtime::addKlassPath(\"yes\")", "Runtime::getInstance()",
               "Runtime::addKlassPath(\"no\")");
}

TEST_F(ScriptedHost, ACallWithoutAnAnswerFails) {
  const std::vector<std::string> one{"a"};
  ContextPointer context;
  std::string first;
  std::string second;
  EXPECT_NONFATAL_FAILURE(Orva_typeByName("a"), "Orva_typeByName was called");
  EXPECT_NONFATAL_FAILURE(Orva_allocObject("a"), "Orva_allocObject was called");
  EXPECT_NONFATAL_FAILURE(Compiler::objectAbiVersion(), "objectAbiVersion was called");
  EXPECT_NONFATAL_FAILURE(Compiler::ensureSourceLoadedInActiveJit("a", context), "ensureSourceLoaded");
  EXPECT_NONFATAL_FAILURE(Compiler::ensureObjectBundleLoadedInActiveJit(one, one), "ensureObjectBundle");
  EXPECT_NONFATAL_FAILURE(Compiler::precompileSources(one, context, {}), "precompileSources was called");
  EXPECT_NONFATAL_FAILURE(Runtime::getInstance().getStandardLibraryPath(), "getStandardLibraryPath was called");
  EXPECT_NONFATAL_FAILURE(Runtime::getInstance().addKlassPath("a"), "addKlassPath was called");
  EXPECT_NONFATAL_FAILURE(CompilerClassLoader::sourceFileForClass("a", context, {}), "sourceFileForClass was called");
  EXPECT_NONFATAL_FAILURE(CompilerClassLoader::materializeRuntimeGenericType("a", first, second, context),
                          "materializeRuntimeGenericType was called");
  EXPECT_NONFATAL_FAILURE(orva::compiler::PackageLayout::isValidPackageName("a"), "isValidPackageName was called");
  EXPECT_EQ(13U, host().takeCalls().size());
}

TEST_F(ScriptedHost, ARaiseWithoutAClassOrAMessageFails) {
  EXPECT_NONFATAL_FAILURE(Orva_raise(nullptr, "m"), "without a class or a message");
  EXPECT_NONFATAL_FAILURE(Orva_raise("C", nullptr), "without a class or a message");
  EXPECT_CALLS("Orva_raise(null, \"m\")", "Orva_raise(\"C\", null)");
}

TEST_F(ScriptedHost, ReadingBeyondItsDataFails) {
  host().registry = {{"a", "b"}};
  EXPECT_NONFATAL_FAILURE(Reflection_getTypeName(1), "no entry 1");
  EXPECT_NONFATAL_FAILURE(Reflection_getTypeFullName(-1), "no entry -1");
  void* list = host().list("list", {"a"});
  EXPECT_NONFATAL_FAILURE(orva_collections_ArrayList_operator_index(list, 1), "list has no element 1");
  EXPECT_NONFATAL_FAILURE(orva_collections_ArrayList_operator_index(list, -1), "list has no element -1");
  EXPECT_EQ(4U, host().takeCalls().size());
}

TEST_F(ScriptedHost, AnswersListsAndTheRegistryFromItsData) {
  host().registry = {{"a", std::nullopt}, {std::nullopt, "x.b"}};
  EXPECT_EQ(2, Reflection_getTypeCount());
  EXPECT_STREQ("a", Reflection_getTypeName(0));
  EXPECT_EQ(nullptr, Reflection_getTypeFullName(0));
  EXPECT_EQ(nullptr, Reflection_getTypeName(1));
  EXPECT_STREQ("x.b", Reflection_getTypeFullName(1));
  EXPECT_CALLS(scan(2));
  void* list = host().list("list", {"a", std::nullopt});
  EXPECT_EQ(2, orva_collections_ArrayList_size(list));
  EXPECT_STREQ("a", orva_collections_ArrayList_operator_index(list, 0));
  EXPECT_EQ(nullptr, orva_collections_ArrayList_operator_index(list, 1));
  EXPECT_CALLS(listRead("list", 2));
  EXPECT_EQ(7, orva_collections_ArrayList_size(host().list("other", {}, 7)));
  EXPECT_CALLS(listRead("other", 0));
}

TEST_F(ScriptedHost, RecordsOutputsAndListeners) {
  host().materialize.always(returns(true));
  host().precompile.always(nothing());
  std::string first = "1";
  std::string second = "2";
  CompilerClassLoader::materializeRuntimeGenericType("a", first, second, host().activeContext);
  Compiler::precompileSources({"a", "b"}, nullptr, [](const Compiler::CompilationProgress&) {});
  EXPECT_CALLS("ClassLoader::materializeRuntimeGenericType(\"a\", \"1\", \"2\", active)",
               "Compiler::precompileSources({\"a\", \"b\"}, empty, a listener)");
  EXPECT_NONFATAL_FAILURE(CompilerClassLoader::materializeRuntimeGenericType("a", first, first, host().activeContext),
                          "one string");
  EXPECT_EQ(1U, host().takeCalls().size());
}

TEST_F(ScriptedHost, ACallWithTheMutexHeldFails) {
  ASSERT_EQ(0, pthread_mutex_lock(gReflectionMutex.native_handle()));
  EXPECT_NONFATAL_FAILURE(Reflection_getTypeCount(), "called with gReflectionMutex held");
  EXPECT_EQ(Lines{"gReflectionMutex is still held"}, (host().takeCalls(), host().leftovers()));
  ASSERT_EQ(0, pthread_mutex_unlock(gReflectionMutex.native_handle()));
  EXPECT_CALLS("unlock(gReflectionMutex)");
}

TEST_F(ScriptedHost, AMutexThatAnotherThreadHoldsIsLeftOver) {
  std::promise<void> locked;
  std::promise<void> looked;
  std::thread other([&] {
    EXPECT_EQ(0, pthread_mutex_lock(gReflectionMutex.native_handle()));
    locked.set_value();
    looked.get_future().wait();
    EXPECT_EQ(0, pthread_mutex_unlock(gReflectionMutex.native_handle()));
  });
  locked.get_future().wait();
  EXPECT_EQ(Lines{"gReflectionMutex is still held"}, (host().takeCalls(), host().leftovers()));
  looked.set_value();
  other.join();
  EXPECT_CALLS("unlock(gReflectionMutex)");
}

TEST_F(ScriptedHost, UnlockingAFreeMutexFails) {
  EXPECT_NONFATAL_FAILURE(pthread_mutex_unlock(gReflectionMutex.native_handle()), "unlocked without being held");
  EXPECT_CALLS("unlock(gReflectionMutex)");
}

TEST_F(ScriptedHost, OnlyTheRegistrysMutexIsRecorded) {
  std::mutex other;
  {
    const std::lock_guard<std::mutex> lock(other);
  }
  EXPECT_CALLS();
  {
    const std::lock_guard<std::mutex> lock(gReflectionMutex);
  }
  EXPECT_CALLS("lock(gReflectionMutex)", "unlock(gReflectionMutex)");
}

TEST_F(ScriptedHost, TheLockFailsAndTheHooksRunOnCommand) {
  host().lockMutex.next(returns(EDEADLK));
  host().onLocked.always([] { host().record("locked"); });
  host().onUnlocking.always([] { host().record("unlocking"); });
  EXPECT_EQ(EDEADLK, pthread_mutex_lock(gReflectionMutex.native_handle()));
  EXPECT_CALLS("lock(gReflectionMutex)");
  {
    const std::lock_guard<std::mutex> lock(gReflectionMutex);
  }
  EXPECT_CALLS("lock(gReflectionMutex)", "locked", "unlocking", "unlock(gReflectionMutex)");
}

TEST_F(ScriptedHost, ReportsWhatATestLeaves) {
  EXPECT_EQ(Lines{}, host().leftovers());
  Orva_raise("C", "m");
  EXPECT_EQ(Lines{"calls that no assertion looked at:\nOrva_raise(\"C\", \"m\")\n"}, host().leftovers());
  host().takeCalls();
  host().load.next(nothing()).next(nothing());
  EXPECT_EQ(Lines{"answers that no call used: 2"}, host().leftovers());
  host().load.take();
  host().load.take();
  const ContextPointer kept = host().activeContext;
  EXPECT_EQ(Lines{"the active context is still shared"}, host().leftovers());
}

TEST_F(ScriptedHost, ResettingStartsAfresh) {
  Orva_raise("C", "m");
  host().registry = {{"a", "b"}};
  gTypes = {typeRecord("", "", "", "")};
  ASSERT_EQ(0, pthread_mutex_lock(gReflectionMutex.native_handle()));
  reset();
  EXPECT_TRUE(gTypes.empty() && host().registry.empty());
  EXPECT_EQ(Lines{}, host().leftovers());
}

TEST_F(ScriptedHost, MakesReadyAndUnreadyRecords) {
  const TypeRecord ready = typeRecord("1", "2", "3", "4");
  for (int number = 1; number <= 4; ++number) EXPECT_EQ(std::to_string(number), recordName(ready, number));
  EXPECT_TRUE(isReady(ready));
  EXPECT_FALSE(isReady(typeRecord("1", "2", "3", "4", false)));
  EXPECT_NE(token(1), token(2));
}

TEST_F(ScriptedHost, ThrowAssertionsFailWithoutTheRightThrow) {
  EXPECT_NONFATAL_FAILURE(EXPECT_THROWS_VALUE(static_cast<void>(0), int, 5), "nothing was thrown");
  EXPECT_NONFATAL_FAILURE(EXPECT_THROWS_VALUE(throw 6, int, 5), "thrown");
  EXPECT_NONFATAL_FAILURE(EXPECT_THROWS_TEXT(static_cast<void>(0), std::exception, "x"), "nothing was thrown");
  EXPECT_NONFATAL_FAILURE(EXPECT_THROWS_TEXT(throw CustomFailure("y"), CustomFailure, "x"), "what");
}

TEST_F(ScriptedHost, ASeparateProcessReportsItsFailures) {
  EXPECT_EQ(0, statusOfOwnProcess([] {}));
  EXPECT_NE(0, statusOfOwnProcess([] { host().record("a call left on purpose"); }));
  EXPECT_NE(0, statusOfOwnProcess([] { ADD_FAILURE() << "a failure on purpose"; }));
  EXPECT_NE(0, statusOfOwnProcess([] { std::_Exit(3); }));
  EXPECT_NE(0, statusOfOwnProcess([] { std::abort(); }));
  EXPECT_NONFATAL_FAILURE(inOwnProcess([] { std::_Exit(3); }), "the child process failed");
}

TEST_F(ScriptedHost, ASeparateProcessDoesNotAffectThisOne) {
  static int value = 1;
  inOwnProcess([] { value = 2; });
  EXPECT_EQ(1, value);
}

// Looking up a type by name: whether the table, the registry and the compiler are asked, in which order, and under
// which lock.
#include <gtest/gtest.h>

#include <cerrno>
#include <stdexcept>
#include <string>
#include <vector>

#include "classloader/natives.h"
#include "tests/scripted_host/allocations.h"
#include "tests/scripted_host/scripted_host.h"
#include "tests/scripted_host/standard_library.h"
#include "tests/scripted_host/system_calls.h"

using namespace scripted;

using Lines = std::vector<std::string>;
static const Lines walkCalls{"lock(gReflectionMutex)", "unlock(gReflectionMutex)"};
static const std::string contextCall = "Compiler::activeRuntimeContext()";
static const std::string unrelatedName = "an unrelated name that no string keeps in its own buffer";

static std::string materialized(const std::string& name, const std::string& context = "active") {
  return "ClassLoader::materializeRuntimeGenericType(\"" + name + "\", \"\", \"\", " + context + ")";
}

static std::string searched(const std::string& name, const std::string& context = "active") {
  return "ClassLoader::sourceFileForClass(\"" + name + "\", " + context + ", no token)";
}

namespace {

class TypeLookup : public HostTest {
 protected:
  void SetUp() override {
    HostTest::SetUp();
    host().typeByName.always(returns(token(7)));
  }

  static void* lookUp(const std::string& name) { return orva_ClassLoader_getTypeByName(name.c_str()); }

  static void expectFound(const std::string& name) {
    EXPECT_EQ(token(7), lookUp(name));
    EXPECT_CALLS(walkCalls, typeByName(name));
  }

  static void expectMaterialized(const std::string& name) {
    host().materialize.next(returns(false));
    EXPECT_EQ(token(7), lookUp(name));
    EXPECT_CALLS(walkCalls, contextCall, materialized(name), typeByName(name));
  }
};

}  // namespace

TEST_F(TypeLookup, NullAndEmptyGoStraightToTheRuntime) {
  const char* const empty = "";
  for (const char* name : {static_cast<const char*>(nullptr), empty}) {
    EXPECT_EQ(token(7), orva_ClassLoader_getTypeByName(name));
    EXPECT_EQ(name, host().lastTypeNamePointer);
    EXPECT_CALLS("Orva_typeByName(" + inQuotes(name) + ")");
  }
}

TEST_F(TypeLookup, ReturnsWhatTheRuntimeReturnsEvenNull) {
  host().registry = {{"B", "a.B"}};
  host().typeByName.next(returns(static_cast<void*>(nullptr)));
  EXPECT_EQ(nullptr, lookUp("a.B"));
  EXPECT_CALLS(scan(1), typeByName("a.B"));
}

TEST_F(TypeLookup, TheRuntimeGetsTheCallersOwnPointer) {
  host().registry = {{"B", "a.B"}};
  gTypes = {typeRecord("Box<B>", "", "", "")};
  const std::string longName = "Unclosed<" + unrelatedName;
  const char* const ownLongName = longName.c_str();
  for (const char* name : {"B", "a.B", "Box<B>", ownLongName}) {
    EXPECT_EQ(token(7), orva_ClassLoader_getTypeByName(name));
    EXPECT_EQ(name, host().lastTypeNamePointer);
  }
  EXPECT_CALLS(scan(1), typeByName("B"), scan(1), typeByName("a.B"), walkCalls, typeByName("Box<B>"),
               typeByName(longName));
}

// Plain names.

TEST_F(TypeLookup, ARegisteredNameAsksNothingOfTheCompiler) {
  host().registry = {{"Foo", "app.Foo"}, {std::nullopt, "app.Bar"}};
  for (const char* name : {"app.Foo", "Foo", "Bar"}) {
    EXPECT_EQ(token(7), lookUp(name));
    EXPECT_CALLS(scan(2), typeByName(name));
  }
}

TEST_F(TypeLookup, AnUnknownClassIsLoadedFromItsSource) {
  host().sourceFileForClass.next(returns(std::string("/root/app/Foo.ov")));
  host().load.next(nothing());
  EXPECT_EQ(token(7), lookUp("app.Foo"));
  EXPECT_CALLS(scan(0), contextCall, searched("app.Foo"), loaded("/root/app/Foo.ov", "active"), typeByName("app.Foo"));
}

TEST_F(TypeLookup, OnceALoadHasRegisteredTheTypeItIsNotLoadedAgain) {
  host().sourceFileForClass.next(returns(std::string("/Foo.ov")));
  host().load.next([] { host().registry.push_back({"Foo", "app.Foo"}); });
  EXPECT_EQ(token(7), lookUp("Foo"));
  EXPECT_CALLS(scan(0), contextCall, searched("Foo"), loaded("/Foo.ov", "active"), typeByName("Foo"));
  EXPECT_EQ(token(7), lookUp("Foo"));
  EXPECT_CALLS(scan(1), typeByName("Foo"));
}

TEST_F(TypeLookup, APlainNameIsNeitherTrimmedNorCompacted) {
  host().registry = {{"Foo", "app.Foo"}};
  host().sourceFileForClass.always(returns(std::string()));
  for (const char* name : {" Foo", "Foo ", "app. Foo", "\t"}) {
    EXPECT_EQ(token(7), lookUp(name));
    EXPECT_CALLS(scan(1), contextCall, searched(name), typeByName(name));
  }
}

TEST_F(TypeLookup, OnlyAClosingBracketMakesAPlainName) {
  host().sourceFileForClass.always(returns(std::string()));
  for (const char* name : {"Box>", ">", "a.B>c"}) {
    EXPECT_EQ(token(7), lookUp(name));
    EXPECT_CALLS(scan(0), contextCall, searched(name), typeByName(name));
  }
}

TEST_F(TypeLookup, OnlyAnOpeningBracketAsksTheRuntimeAlone) {
  for (const char* name : {"Box<", "<", "a.Box<b.C"}) {
    EXPECT_EQ(token(7), lookUp(name));
    EXPECT_CALLS(typeByName(name));
  }
}

TEST_F(TypeLookup, TheContextOfASourceIsPassedOnAsItComes) {
  host().sourceFileForClass.always(returns(std::string("/Foo.ov")));
  host().load.always(nothing());
  host().activeRuntimeContext.next(returns(ContextPointer())).next(returns(Host::otherContext()));
  EXPECT_EQ(token(7), lookUp("Foo"));
  EXPECT_CALLS(scan(0), contextCall, searched("Foo", "empty"), loaded("/Foo.ov", "empty"), typeByName("Foo"));
  EXPECT_EQ(token(7), lookUp("Foo"));
  EXPECT_CALLS(scan(0), contextCall, searched("Foo", "other"), loaded("/Foo.ov", "other"), typeByName("Foo"));
}

TEST_F(TypeLookup, EachLoadGetsACopyOfTheContext) {
  host().load.always(nothing());
  host().sourceFileForClass.next(returns(std::string("/Foo.ov")));
  lookUp("Foo");
  EXPECT_CALLS(scan(0), contextCall, searched("Foo"), loaded("/Foo.ov", "active"), typeByName("Foo"));
  host().materialize.next(returns(true));
  lookUp("Box<A>");
  EXPECT_CALLS(walkCalls, contextCall, materialized("Box<A>"), loaded("", "active"), typeByName("Box<A>"));
  EXPECT_EQ((std::vector<long>{3, 3}), host().contextHolders);
}

TEST_F(TypeLookup, TheContextIsReleasedBeforeTheRuntimeIsAsked) {
  host().typeByName.always([] {
    EXPECT_EQ(1, host().activeContext.use_count());
    return token(7);
  });
  host().sourceFileForClass.next(returns(std::string()));
  host().materialize.next(returns(false));
  EXPECT_EQ(token(7), lookUp("Foo"));
  EXPECT_EQ(token(7), lookUp("Box<A>"));
  EXPECT_CALLS(scan(0), contextCall, searched("Foo"), typeByName("Foo"), walkCalls, contextCall, materialized("Box<A>"),
               typeByName("Box<A>"));
}

/// Looks up one of `types` registered types, whose names are equally long, and counts the library's allocations.
static int allocationsOfALookup(int types) {
  constexpr int firstNumber = 100'000;
  host().registry.clear();
  for (int number = firstNumber; number < firstNumber + types; ++number) {
    const std::string shortName = "HttpRequestHandler" + std::to_string(number);
    host().registry.push_back({shortName, "com.example.service.web." + shortName});
  }
  const std::string name = *host().registry.front().fullName;
  int allocated = 0;
  const allocations::Watch watch([&allocated] {
    ++allocated;
    return false;
  });
  orva_ClassLoader_getTypeByName(name.c_str());
  return allocated;
}

// It copies the requested name and the matching one.
TEST_F(TypeLookup, ALookupAllocatesTwiceHoweverManyTypesThereAre) {
  const int allocated = allocationsOfALookup(10);
  EXPECT_EQ(2, allocated);
  for (const int types : {1'000, 100'000}) EXPECT_EQ(allocated, allocationsOfALookup(types)) << types << " types";
  host().takeCalls();
}

// Generic names.

TEST_F(TypeLookup, AReadyInstanceIsFoundByEachNameInTheirOrder) {
  const std::string name = "Box<a.B>";
  const int namesBefore[] = {0, 2, 3, 0, 1};
  const system_calls::Scope scope;
  for (int number = 1; number <= 4; ++number) {
    // The last byte rules out each name before it, and the locale is asked once about each such byte.
    const auto nameOf = [number, &name](int place) {
      return place == number ? name : unrelatedName + std::to_string(place);
    };
    gTypes = {typeRecord(unrelatedName + "9", unrelatedName + "a", unrelatedName + "b", unrelatedName + "c", false),
              typeRecord(nameOf(1), nameOf(2), nameOf(3), nameOf(4)),
              typeRecord(unrelatedName + "5", unrelatedName + "6", unrelatedName + "7", unrelatedName + "8")};
    host().onLocked.next([] { system_calls::reset(); });
    expectFound(name);
    EXPECT_EQ(namesBefore[number], system_calls::classifications()) << "name " << number;
  }
}

TEST_F(TypeLookup, TheLocaleIsAskedOnceAboutTheLastByteOfManyNames) {
  const system_calls::Scope scope;
  gTypes.assign(100, typeRecord(unrelatedName, unrelatedName, unrelatedName, unrelatedName));
  host().onLocked.next([] { system_calls::reset(); });
  host().materialize.next([](std::string& /*instance*/, std::string& /*source*/, const ContextPointer& /*context*/) {
    EXPECT_EQ(1, system_calls::classifications());
    return false;
  });
  EXPECT_EQ(token(7), lookUp("Box<a.B>"));
  EXPECT_CALLS(walkCalls, contextCall, materialized("Box<a.B>"), typeByName("Box<a.B>"));
}

TEST_F(TypeLookup, AByteThatRuledOutOneNameMayBePartOfAnother) {
  gTypes = {typeRecord("Map<C,C>", "Map<B,C>", "Map<C, C>", ""), typeRecord("", "", "Map<C,B>", "")};
  expectFound("Map<C,B>");
}

TEST_F(TypeLookup, AnyRecordOfTheTableIsFound) {
  for (std::size_t place = 0; place < 3; ++place) {
    gTypes.assign(3, typeRecord("A<B>", "", "", ""));
    gTypes[place].name1 = "Box<a.B>";
    expectFound("Box<a.B>");
  }
}

TEST_F(TypeLookup, BlanksMakeNoDifferenceInTheTable) {
  gTypes = {typeRecord("", "", "Map<a.B, c.D>", "")};
  for (const char* name : {"Map<a.B,c.D>", "Map< a.B ,\tc.D >", " Map<a.B,c.D>\n"}) expectFound(name);
  gTypes = {typeRecord("", "Map<a.B,c.D>", "", "")};
  for (const char* name : {"Map<a.B, c.D>", "M a p<a.B,c.D>"}) expectFound(name);
  gTypes = {typeRecord("", "", "", " \nMap<a.B,c.D>\t ")};
  expectFound("Map<a.B,c.D>");
  gTypes = {typeRecord(" Map<a.B,c.D", "Map<a.B,c.D> x", "xMap<a.B,c.D>", " ")};
  expectMaterialized("Map<a.B,c.D>");
}

TEST_F(TypeLookup, EveryByteOfANameCounts) {
  for (const std::string name : {"Map<a.B,c.D,e.F<g.H>>", "A<>", "<>"}) {
    for (std::size_t place = 0; place <= name.size(); ++place) {
      std::string spaced = name;
      spaced.insert(place, "\t ");
      gTypes = {typeRecord("", "", spaced, "")};
      expectFound(name);
      std::string longer = spaced;
      longer.insert(place + 1, "x");
      std::string other = spaced;
      if (place < name.size()) other[place + 2] = '~';
      gTypes = {typeRecord("", "", longer, place < name.size() ? other : longer)};
      expectMaterialized(name);
    }
  }
}

TEST_F(TypeLookup, ABlankMatchesNoOtherByteOfAName) {
  const std::string name = "Map<a.B,c.D>";
  for (std::size_t place = 0; place < name.size(); ++place) {
    std::string blanked = name;
    blanked[place] = ' ';
    gTypes = {typeRecord("", "", blanked, ' ' + blanked)};
    expectMaterialized(name);
  }
}

TEST_F(TypeLookup, NamesOfTheTableAreComparedByteForByte) {
  gTypes = {typeRecord("box<a.B>", "Box<a.b>", "Box<a.B>>", "Box<a.B")};
  expectMaterialized("Box<a.B>");
}

TEST_F(TypeLookup, ARecordThatIsNotReadyIsIgnored) {
  gTypes = {{"", "", "Box<A>", "", nullptr, {token(1)}}};
  expectMaterialized("Box<A>");
  gTypes = {{"", "", "Box<A>", "", token(0), {}}};
  expectMaterialized("Box<A>");
  gTypes = {{"", "", "Box<A>", "", nullptr, {}}};
  expectMaterialized("Box<A>");
  gTypes.push_back({"", "", "Box<A>", "", token(0), {nullptr}});
  expectFound("Box<A>");
}

TEST_F(TypeLookup, TheOrderOfTheBracketsDoesNotMatter) {
  for (const char* name : {"Box<A>", "><", "a>b<c", "<>"}) expectMaterialized(name);
}

TEST_F(TypeLookup, TheCompilerAndTheRuntimeGetTheSpellingWithBlanks) {
  gTypes = {typeRecord("Other<A>", "Box", "A", "Box<B>")};
  expectMaterialized(" Box < A > ");
}

TEST_F(TypeLookup, AMaterializedInstanceIsLoadedFromTheSecondOutput) {
  host().materialize.next([](std::string& instance, std::string& source, const ContextPointer& /*context*/) {
    instance = "Box_A";
    source = "/generated/Box_A.ov";
    return true;
  });
  host().load.next([] { gTypes.push_back(typeRecord("", "", "", "Box<A>")); });
  EXPECT_EQ(token(7), lookUp("Box<A>"));
  EXPECT_CALLS(walkCalls, contextCall, materialized("Box<A>"), loaded("/generated/Box_A.ov", "active"),
               typeByName("Box<A>"));
  expectFound("Box<A>");
}

TEST_F(TypeLookup, AnEmptySourceOfAMaterializedInstanceIsLoadedAsItIs) {
  host().materialize.next([](std::string& instance, std::string& /*source*/, const ContextPointer& /*context*/) {
    instance = "Box_A";
    return true;
  });
  host().load.next(nothing());
  EXPECT_EQ(token(7), lookUp("Box<A>"));
  EXPECT_CALLS(walkCalls, contextCall, materialized("Box<A>"), loaded("", "active"), typeByName("Box<A>"));
}

TEST_F(TypeLookup, WithoutAnInstanceNothingIsLoaded) {
  host().materialize.next([](std::string& /*instance*/, std::string& source, const ContextPointer& /*context*/) {
    source = "/generated/unused.ov";
    return false;
  });
  EXPECT_EQ(token(7), lookUp("Box<A>"));
  EXPECT_CALLS(walkCalls, contextCall, materialized("Box<A>"), typeByName("Box<A>"));
}

TEST_F(TypeLookup, AContextThatTheCompilerReplacesIsUsed) {
  host().materialize.next([](std::string& /*instance*/, std::string& source, ContextPointer& context) {
    source = "/Box_A.ov";
    context = nullptr;
    return true;
  });
  host().load.next(nothing());
  EXPECT_EQ(token(7), lookUp("Box<A>"));
  EXPECT_CALLS(walkCalls, contextCall, materialized("Box<A>"), loaded("/Box_A.ov", "empty"), typeByName("Box<A>"));
}

// Hosts that overwrite the name during a call.

namespace {

/// A name in memory that the host may write to.
class WritableName {
 public:
  explicit WritableName(const std::string& text) { become(text); }
  void become(const std::string& text) { bytes_[text.copy(bytes_, sizeof bytes_ - 1)] = '\0'; }
  const char* pointer() const { return bytes_; }

 private:
  char bytes_[64] = {};
};

}  // namespace

TEST_F(TypeLookup, ANameThatBecomesPlainIsLookedForAsASource) {
  for (const std::string plain : {"Foo", "a.Foo>", " "}) {
    WritableName name("Box<A>");
    host().materialize.next([&name, &plain] { return name.become(plain), false; });
    host().sourceFileForClass.next(returns(std::string("/Foo.ov")));
    host().load.next(nothing());
    EXPECT_EQ(token(7), orva_ClassLoader_getTypeByName(name.pointer()));
    EXPECT_CALLS(walkCalls, contextCall, materialized("Box<A>"), scan(0), contextCall, searched(plain),
                 loaded("/Foo.ov", "active"), typeByName(plain));
    EXPECT_EQ(name.pointer(), host().lastTypeNamePointer);
  }
}

TEST_F(TypeLookup, ANameThatBecomesEmptyMatchesNothing) {
  WritableName name("Box<A>");
  host().registry = {{"", ""}};
  host().materialize.next(returns(true));
  host().load.next([&name] { name.become(""); });
  host().sourceFileForClass.next(returns(std::string()));
  EXPECT_EQ(token(7), orva_ClassLoader_getTypeByName(name.pointer()));
  EXPECT_CALLS(walkCalls, contextCall, materialized("Box<A>"), loaded("", "active"), contextCall, searched(""),
               typeByName(""));
}

TEST_F(TypeLookup, ANameThatBecomesAnotherInstanceIsNotMaterializedAgain) {
  WritableName name("Box<A>");
  host().materialize.next([&name] { return name.become("Map<B>"), false; });
  EXPECT_EQ(token(7), orva_ClassLoader_getTypeByName(name.pointer()));
  EXPECT_CALLS(walkCalls, contextCall, materialized("Box<A>"), typeByName("Map<B>"));
}

TEST_F(TypeLookup, ANameThatBecomesAmbiguousIsRaised) {
  WritableName name("Box<A>");
  host().registry = {{"Map", "app.Map"}, {"Map", "lib.Map"}};
  host().materialize.next([&name] { return name.become("Map"), false; });
  EXPECT_EQ(nullptr, orva_ClassLoader_getTypeByName(name.pointer()));
  EXPECT_CALLS(walkCalls, contextCall, materialized("Box<A>"), scan(2),
               raised("ClassNotFoundException", "Ambiguous plugin entry type 'Map'; use its fully qualified name"));
}

TEST_F(TypeLookup, EachPhaseUsesTheNameThatItBeganWith) {
  WritableName instance("Box<A>");
  host().onLocked.next([&instance] { instance.become("Map<B>"); });
  host().materialize.next(returns(false));
  EXPECT_EQ(token(7), orva_ClassLoader_getTypeByName(instance.pointer()));
  EXPECT_CALLS(walkCalls, contextCall, materialized("Box<A>"), typeByName("Map<B>"));

  WritableName plain("a.Foo");
  host().typeCount.next([&plain] { return plain.become("b.Bar"), 0; });
  host().sourceFileForClass.next(returns(std::string()));
  EXPECT_EQ(token(7), orva_ClassLoader_getTypeByName(plain.pointer()));
  EXPECT_CALLS(scan(0), contextCall, searched("a.Foo"), typeByName("b.Bar"));
}

// The lock.

TEST_F(TypeLookup, TheTableIsReadOnlyUnderItsMutex) {
  host().onLocked.always([] { gTypes = {typeRecord("", "", "", "Box<A>")}; });
  host().onUnlocking.always([] { gTypes.clear(); });
  expectFound("Box<A>");
  host().onLocked.always([] { gTypes = {typeRecord("", "", "", "Box<B>")}; });
  expectMaterialized("Box<A>");
}

TEST_F(TypeLookup, AFailingLockIsRaisedAndNotUnlocked) {
  for (const int error : {EDEADLK, EINVAL, EAGAIN, ENOTRECOVERABLE}) {
    host().lockMutex.next(returns(error));
    EXPECT_EQ(nullptr, lookUp("Box<A>"));
    EXPECT_CALLS("lock(gReflectionMutex)", raised("ClassNotFoundException", standard_library::lockFailure(error)));
  }
}

TEST_F(TypeLookup, TheWalkAllocatesNothing) {
  gTypes = {typeRecord(unrelatedName, unrelatedName, unrelatedName, unrelatedName),
            typeRecord("Box < A", "Box<A> >", "Box<B>", "Box < A >")};
  bool wasPending = false;
  host().onLocked.next([] { allocations::failAllocation(1); });
  host().onUnlocking.next([&wasPending] {
    wasPending = allocations::isFailurePending();
    allocations::failAllocation(0);
  });
  expectFound("Box<A>");
  EXPECT_TRUE(wasPending);
}

TEST_F(TypeLookup, AFailingAllocationBeforeTheLockIsRaised) {
  const std::string name = "Box<" + unrelatedName + ">";
  for (const int number : {1, 2}) {
    allocations::failAllocation(number);
    EXPECT_EQ(nullptr, lookUp(name));
    EXPECT_CALLS(raised("ClassNotFoundException", "std::bad_alloc"));
  }
}

// Failures.

TEST_F(TypeLookup, AnAmbiguousShortNameIsRaisedAndNothingElseIsAsked) {
  host().registry = {{"Map", "app.Map"}, {"Map", "lib.Map"}, {"Map", "third.Map"}};
  EXPECT_EQ(nullptr, lookUp("Map"));
  EXPECT_CALLS(scan(2),
               raised("ClassNotFoundException", "Ambiguous plugin entry type 'Map'; use its fully qualified name"));
}

TEST_F(TypeLookup, AFailingContextIsRaised) {
  host().activeRuntimeContext.next(throws(std::runtime_error("no engine"))).next(throws(CustomFailure("")));
  EXPECT_EQ(nullptr, lookUp("Foo"));
  EXPECT_CALLS(scan(0), contextCall, raised("ClassNotFoundException", "no engine"));
  EXPECT_EQ(nullptr, lookUp("Box<A>"));
  EXPECT_CALLS(walkCalls, contextCall, raised("ClassNotFoundException", ""));
}

TEST_F(TypeLookup, AFailingCompilerIsRaisedAfterTheContextIsReleased) {
  host().raise.always([] { EXPECT_EQ(1, host().activeContext.use_count()); });
  host().sourceFileForClass.next(throws(CustomFailure("search failed")));
  EXPECT_EQ(nullptr, lookUp("Foo"));
  EXPECT_CALLS(scan(0), contextCall, searched("Foo"), raised("ClassNotFoundException", "search failed"));
  host().materialize.next(throws(CustomFailure("materialise failed")));
  EXPECT_EQ(nullptr, lookUp("Box<A>"));
  EXPECT_CALLS(walkCalls, contextCall, materialized("Box<A>"), raised("ClassNotFoundException", "materialise failed"));
}

TEST_F(TypeLookup, AFailingLoadIsRaised) {
  host().load.next(throws(CustomFailure("a.ov:1: oops"))).next(throws(CustomFailure("")));
  host().sourceFileForClass.next(returns(std::string("/Foo.ov")));
  EXPECT_EQ(nullptr, lookUp("Foo"));
  EXPECT_CALLS(scan(0), contextCall, searched("Foo"), loaded("/Foo.ov", "active"),
               raised("ClassNotFoundException", "a.ov:1: oops"));
  host().materialize.next(returns(true));
  EXPECT_EQ(nullptr, lookUp("Box<A>"));
  EXPECT_CALLS(walkCalls, contextCall, materialized("Box<A>"), loaded("", "active"),
               raised("ClassNotFoundException", ""));
}

TEST_F(TypeLookup, OtherObjectsPass) {
  host().sourceFileForClass.next(throws(5));
  EXPECT_THROWS_VALUE(lookUp("Foo"), int, 5);
  EXPECT_CALLS(scan(0), contextCall, searched("Foo"));
  host().materialize.next(throws(std::string("text")));
  EXPECT_THROWS_VALUE(lookUp("Box<A>"), std::string, "text");
  EXPECT_CALLS(walkCalls, contextCall, materialized("Box<A>"));
}

TEST_F(TypeLookup, WhatTheFinalLookupThrowsPasses) {
  host().registry = {{"Foo", "app.Foo"}};
  host().typeByName.next(throws(std::runtime_error("no registry"))).next(throws(5)).next(throws(6));
  EXPECT_THROWS_TEXT(lookUp("Foo"), std::runtime_error, "no registry");
  EXPECT_THROWS_VALUE(lookUp("Foo"), int, 5);
  EXPECT_CALLS(scan(1), typeByName("Foo"), scan(1), typeByName("Foo"));
  EXPECT_THROWS_VALUE(lookUp(""), int, 6);
  EXPECT_CALLS(typeByName(""));
}

TEST_F(TypeLookup, WhatARaiseThrowsPasses) {
  host().sourceFileForClass.always(throws(std::runtime_error("failed")));
  host().raise.next(throws(std::logic_error("raise 1"))).next(throws(5));
  EXPECT_THROWS_TEXT(lookUp("Foo"), std::logic_error, "raise 1");
  EXPECT_CALLS(scan(0), contextCall, searched("Foo"), raised("ClassNotFoundException", "failed"));
  EXPECT_THROWS_VALUE(lookUp("Foo"), int, 5);
  EXPECT_CALLS(scan(0), contextCall, searched("Foo"), raised("ClassNotFoundException", "failed"));
}

// Type names: which bytes compacting drops, and which entry of the registry a name resolves to.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "classloader/type_names.h"
#include "tests/scripted_host/allocations.h"
#include "tests/scripted_host/scripted_host.h"
#include "tests/scripted_host/system_calls.h"

using namespace scripted;

namespace {

class CompactTypeName : public HostTest {};
class ReflectedTypeMatch : public HostTest {};

}  // namespace

using Match = std::optional<std::string>;
static const Match noMatch;
static const char* const ambiguous = "Ambiguous plugin entry type 'Map'; use its fully qualified name";

TEST_F(CompactTypeName, DropsEveryBlankWhereverItIs) {
  EXPECT_EQ("Map<a.B,c.D>", compactTypeName(" Map < a.B ,\tc.D\n>\r\v\f "));
  EXPECT_EQ("Map<a.B,c.D>", compactTypeName("Map<a.B,c.D>"));
  EXPECT_EQ("ab", compactTypeName("a b"));
}

TEST_F(CompactTypeName, NothingButBlanksBecomesEmpty) {
  EXPECT_EQ("", compactTypeName(""));
  EXPECT_EQ("", compactTypeName(" \t\n\v\f\r"));
}

TEST_F(CompactTypeName, KeepsEveryOtherByteOfTheCLocale) {
  const std::string blanks = " \t\n\v\f\r";
  for (int byte = 0; byte < 256; ++byte) {
    const std::string name(1, static_cast<char>(byte));
    const bool blank = blanks.find(name) != std::string::npos;
    EXPECT_EQ(blank ? "" : name, compactTypeName(name)) << "byte " << byte;
    EXPECT_EQ(blank ? "<>" : '<' + name + '>', compactTypeName('<' + name + '>')) << "byte " << byte;
  }
}

TEST_F(CompactTypeName, FollowsTheLocaleAndAsksItForBytesOnly) {
  const system_calls::Scope scope;
  system_calls::setWhitespace("\xa0_");
  EXPECT_EQ("a b\xff", compactTypeName("a\xa0 b_\xff"));
  for (int byte = 0; byte < 256; ++byte) {
    const std::string name(1, static_cast<char>(byte));
    EXPECT_EQ(name == "\xa0" || name == "_" ? "" : name, compactTypeName(name)) << "byte " << byte;
  }
}

TEST_F(CompactTypeName, DoesNotChangeTheGivenName) {
  const std::string name = " a b ";
  compactTypeName(name);
  EXPECT_EQ(" a b ", name);
}

TEST_F(CompactTypeName, AllocatesOnce) {
  const std::string name(1000, 'x');
  allocations::failAllocation(2);
  const std::string compact = compactTypeName(name);
  const bool onlyOne = allocations::isFailurePending();
  allocations::failAllocation(0);
  EXPECT_TRUE(onlyOne);
  EXPECT_EQ(name, compact);
}

TEST_F(CompactTypeName, LetsAFailingAllocationPass) {
  const std::string name(1000, 'x');
  allocations::failAllocation(1);
  EXPECT_THROWS_TEXT(compactTypeName(name), std::bad_alloc, "std::bad_alloc");
}

TEST_F(ReflectedTypeMatch, AnEmptyNameAsksNothing) {
  host().registry = {{"", ""}, {std::nullopt, std::nullopt}};
  EXPECT_EQ(noMatch, reflectedTypeMatch(""));
  EXPECT_CALLS();
}

TEST_F(ReflectedTypeMatch, AnEmptyRegistryMatchesNothing) {
  EXPECT_EQ(noMatch, reflectedTypeMatch("a.B"));
  EXPECT_CALLS(scan(0));
}

TEST_F(ReflectedTypeMatch, ANegativeCountIsAnEmptyRegistry) {
  for (const int32_t count : {-1, std::numeric_limits<int32_t>::min()}) {
    host().typeCount.next(returns(count));
    EXPECT_EQ(noMatch, reflectedTypeMatch("B"));
    EXPECT_CALLS(scan(0));
  }
}

TEST_F(ReflectedTypeMatch, AQualifiedNameIsComparedWithFullNamesOnly) {
  host().registry = {{"Map", "lib.Map"}, {"app.Map", "x.Map"}, {"Map", "app.Map"}, {"Map", "app.Map.Entry"}};
  EXPECT_EQ(Match("app.Map"), reflectedTypeMatch("app.Map"));
  EXPECT_CALLS(scan(4));
  EXPECT_EQ(noMatch, reflectedTypeMatch("pp.Map"));
  EXPECT_EQ(noMatch, reflectedTypeMatch("Map.Entry"));
  EXPECT_CALLS(scan(4), scan(4));
}

TEST_F(ReflectedTypeMatch, AShortNameInPlaceOfAFullNameIsNotQualified) {
  host().registry = {{"a.B", ""}, {"a.B", std::nullopt}};
  EXPECT_EQ(noMatch, reflectedTypeMatch("a.B"));
  EXPECT_CALLS(scan(2));
}

TEST_F(ReflectedTypeMatch, ADotAtEitherEndQualifies) {
  host().registry = {{"b", "a."}, {"a", ".a"}, {"a", "x.a"}, {".a", "y.b"}};
  EXPECT_EQ(Match("a."), reflectedTypeMatch("a."));
  EXPECT_EQ(Match(".a"), reflectedTypeMatch(".a"));
  EXPECT_EQ(noMatch, reflectedTypeMatch("."));
  EXPECT_CALLS(scan(4), scan(4), scan(4));
}

TEST_F(ReflectedTypeMatch, AnUnqualifiedNameMatchesTheShortName) {
  host().registry = {{"Other", "x.Other"}, {"Foo", "x.Renamed"}, {"Last", "x.Last"}};
  EXPECT_EQ(Match("x.Renamed"), reflectedTypeMatch("Foo"));
  EXPECT_CALLS(scan(3));
}

TEST_F(ReflectedTypeMatch, AnUnqualifiedNameMatchesTheTailOfTheFullName) {
  host().registry = {{std::nullopt, "app.util.Foo"}, {"", "app.util.Bar"}, {"Short", "app.util.Long"}};
  EXPECT_EQ(Match("app.util.Foo"), reflectedTypeMatch("Foo"));
  EXPECT_EQ(Match("app.util.Bar"), reflectedTypeMatch("Bar"));
  EXPECT_EQ(Match("app.util.Long"), reflectedTypeMatch("Long"));
  EXPECT_CALLS(scan(3), scan(3), scan(3));
}

TEST_F(ReflectedTypeMatch, OnlyTheTextAfterTheLastDotIsTheTail) {
  host().registry = {{"x", "app.util.Foo"}};
  for (const char* name : {"util", "oo", "Fo", "Fooo", "app"}) {
    EXPECT_EQ(noMatch, reflectedTypeMatch(name)) << name;
    EXPECT_CALLS(scan(1));
  }
}

TEST_F(ReflectedTypeMatch, AFullNameWithoutADotIsItsOwnTail) {
  host().registry = {{"Bar", "Foo"}};
  EXPECT_EQ(Match("Foo"), reflectedTypeMatch("Foo"));
  EXPECT_EQ(Match("Foo"), reflectedTypeMatch("Bar"));
  EXPECT_EQ(noMatch, reflectedTypeMatch("oo"));
  EXPECT_CALLS(scan(1), scan(1), scan(1));
}

TEST_F(ReflectedTypeMatch, AFullNameThatEndsInADotHasAnEmptyTail) {
  host().registry = {{"x", "app.Foo."}};
  EXPECT_EQ(noMatch, reflectedTypeMatch("Foo"));
  EXPECT_CALLS(scan(1));
}

TEST_F(ReflectedTypeMatch, WithoutAFullNameTheShortNameIsTheResolvedOne) {
  host().registry = {{"Foo", std::nullopt}, {"Bar", ""}};
  EXPECT_EQ(Match("Foo"), reflectedTypeMatch("Foo"));
  EXPECT_EQ(Match("Bar"), reflectedTypeMatch("Bar"));
  EXPECT_EQ(noMatch, reflectedTypeMatch("x.Foo"));
  EXPECT_CALLS(scan(2), scan(2), scan(2));
}

TEST_F(ReflectedTypeMatch, EntriesWithoutAnyNameMatchNothing) {
  host().registry = {{std::nullopt, std::nullopt}, {"", ""}};
  for (const char* name : {"Foo", "x", "null", ".", " "}) {
    EXPECT_EQ(noMatch, reflectedTypeMatch(name)) << name;
    EXPECT_CALLS(scan(2));
  }
}

TEST_F(ReflectedTypeMatch, NamesAreReadOnlyAfterBothWereFetched) {
  std::string shortName = "Old";
  host().registry = {{"unused", "unused"}};
  host().typeName.always([&shortName] { return shortName.c_str(); });
  host().typeFullName.always([&shortName] {
    shortName = "New";
    return "app.Full";
  });
  EXPECT_EQ(Match("app.Full"), reflectedTypeMatch("New"));
  EXPECT_CALLS(scan(1));
}

TEST_F(ReflectedTypeMatch, ComparesByteForByte) {
  host().registry = {{"Foo", "x.Foo"}};
  for (const char* name : {"foo", " Foo", "Foo ", "FOO", "x. Foo", "X.Foo", "x.Foo ", "F\xc3\xb6o"}) {
    EXPECT_EQ(noMatch, reflectedTypeMatch(name)) << name;
    EXPECT_CALLS(scan(1));
  }
}

TEST_F(ReflectedTypeMatch, NamesLongerThanAnyBufferMatch) {
  const std::string shortName(200, 's');
  host().registry = {{shortName, "app." + shortName}};
  EXPECT_EQ(Match("app." + shortName), reflectedTypeMatch(shortName));
  EXPECT_EQ(Match("app." + shortName), reflectedTypeMatch("app." + shortName));
  EXPECT_CALLS(scan(1), scan(1));
}

TEST_F(ReflectedTypeMatch, NoEntryAffectsTheNext) {
  host().registry = {{"AVeryLongShortName", "some.package.AVeryLongShortName"},
                     {"LongName", "x.LongName"},
                     {"Name", "x.Name"},
                     {"", "Foo"},
                     {std::nullopt, std::nullopt}};
  EXPECT_EQ(Match("x.LongName"), reflectedTypeMatch("LongName"));
  EXPECT_EQ(Match("x.LongName"), reflectedTypeMatch("x.LongName"));
  EXPECT_EQ(Match("x.Name"), reflectedTypeMatch("Name"));
  EXPECT_EQ(Match("x.Name"), reflectedTypeMatch("x.Name"));
  EXPECT_EQ(Match("Foo"), reflectedTypeMatch("Foo"));
  EXPECT_CALLS(scan(5), scan(5), scan(5), scan(5), scan(5));
}

TEST_F(ReflectedTypeMatch, NamesThatEndAlikeDiffer) {
  host().registry = {{"xLongEnoughName", "a.xLongEnoughName"}, {"yLongEnoughName", "a.yLongEnoughName"}};
  EXPECT_EQ(Match("a.yLongEnoughName"), reflectedTypeMatch("yLongEnoughName"));
  EXPECT_EQ(Match("a.yLongEnoughName"), reflectedTypeMatch("a.yLongEnoughName"));
  EXPECT_EQ(noMatch, reflectedTypeMatch("LongEnoughName"));
  EXPECT_EQ(noMatch, reflectedTypeMatch("b.yLongEnoughName"));
  EXPECT_CALLS(scan(2), scan(2), scan(2), scan(2));
}

TEST_F(ReflectedTypeMatch, SeveralEntriesThatResolveAlikeAreOne) {
  host().registry = {{"Map", "app.Map"}, {"Map", "app.Map"}, {std::nullopt, "app.Map"}};
  EXPECT_EQ(Match("app.Map"), reflectedTypeMatch("Map"));
  EXPECT_EQ(Match("app.Map"), reflectedTypeMatch("app.Map"));
  EXPECT_CALLS(scan(3), scan(3));
}

TEST_F(ReflectedTypeMatch, AShortNameAndAnEqualFullNameResolveAlike) {
  host().registry = {{"Foo", std::nullopt}, {"Bar", "Foo"}};
  EXPECT_EQ(Match("Foo"), reflectedTypeMatch("Foo"));
  EXPECT_CALLS(scan(2));
}

TEST_F(ReflectedTypeMatch, DifferentTypesOfOneShortNameAreAmbiguous) {
  const std::vector<std::vector<Entry>> registries{{{"Map", "app.Map"}, {"Map", "lib.Map"}},
                                                   {{"Map", "app.Map"}, {"Map", "app.Mapp"}},
                                                   // A short name does not take precedence over a tail.
                                                   {{"M", "lib.Map"}, {"Map", "app.Other"}},
                                                   // The scan ends at the ambiguity.
                                                   {{"Map", "app.Map"}, {"M", "lib.Map"}, {"Map", "third.Map"}}};
  for (const std::vector<Entry>& registry : registries) {
    host().registry = registry;
    EXPECT_THROWS_TEXT(reflectedTypeMatch("Map"), std::runtime_error, ambiguous);
    EXPECT_CALLS(scan(2));
  }
}

TEST_F(ReflectedTypeMatch, AnAmbiguityIsSeenAfterEqualMatches) {
  host().registry = {{"Map", "a.Map"}, {"x", "a.x"}, {"Map", "a.Map"}, {"Map", "b.Map"}, {"Map", "a.Map"}};
  EXPECT_THROWS_TEXT(reflectedTypeMatch("Map"), std::runtime_error, ambiguous);
  EXPECT_CALLS(scan(4));
  EXPECT_EQ(Match("b.Map"), reflectedTypeMatch("b.Map"));
  EXPECT_CALLS(scan(5));
}

TEST_F(ReflectedTypeMatch, EntriesRegisteredDuringTheScanAreNotExamined) {
  host().registry = {{"Foo", "a.Foo"}};
  host().typeCount.next([] {
    const auto count = static_cast<int32_t>(host().registry.size());
    host().registry.push_back({"Foo", "b.Foo"});
    return count;
  });
  EXPECT_EQ(Match("a.Foo"), reflectedTypeMatch("Foo"));
  EXPECT_CALLS(scan(1));
}

TEST_F(ReflectedTypeMatch, LetsAFailingAllocationPass) {
  const std::string longName(100, 'n');
  host().registry = {{longName, "app." + longName}};
  host().typeFullName.next([&longName](int32_t /*index*/) {
    allocations::failAllocation(1);
    return longName.c_str();
  });
  EXPECT_THROWS_TEXT(reflectedTypeMatch(longName), std::bad_alloc, "std::bad_alloc");
  EXPECT_CALLS(scan(1));
}

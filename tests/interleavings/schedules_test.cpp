// The search by itself: it counts schedules rightly, and says all that is needed of one that goes wrong.
#include "schedules.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <string>

using namespace scripted;

/// Two threads that each ask the runtime for a type that there is: two steps each.
static Pair asking() {
  const auto call = [](const SteppedHost& host) {
    return host.endingWithType(orva_SystemClassLoader_loadClass(nullptr, "Map"));
  };
  const Side side = {call, {{"finds it", {typeByName("Map")}, "Map"}}};
  Pair pair{[](SteppedHost& host) { host.hasType("Map"); }, side, side};
  pair.isInTotal = false;
  return pair;
}

static const std::string bothFind = "A finds it. B finds it. nothing compiled.";

TEST(Search, CountsEverySchedule) { expectOutcomes(asking(), 6, {bothFind}); }

TEST(Search, RunsASteppedNativeInAProcessOfItsOwn) {
  Pair pair = asking();
  pair.inOwnProcess = true;
  expectOutcomes(pair, 6, {bothFind});
}

TEST(Search, MissesNoSchedule) { EXPECT_NONFATAL_FAILURE(expectOutcomes(asking(), 7, {bothFind}), "Which is: 6"); }

TEST(Search, MissesAnOutcomeThatIsLost) {
  EXPECT_NONFATAL_FAILURE(expectOutcomes(asking(), 6, {bothFind, "A never ends."}), "an outcome that no schedule has");
}

TEST(Search, NamesTheScheduleOfANewOutcome) {
  EXPECT_NONFATAL_FAILURE(expectOutcomes(asking(), 6, {}),
                          "--gtest_filter=Search.NamesTheScheduleOfANewOutcome "
                          "--schedule=AABB");
}

TEST(Search, ShowsTheCallsOfAThreadThatGoesAstray) {
  Pair pair = asking();
  pair.b.paths.front().ending = "null";
  EXPECT_NONFATAL_FAILURE(expectOutcomes(pair, 6, {bothFind}),
                          "thread B:\n  Orva_typeByName(\"Map\")\n  and then: Map\n");
}

TEST(Search, ShowsWhatGoesAstrayInAProcessOfItsOwn) {
  Pair pair = asking();
  pair.inOwnProcess = true;
  pair.b.paths.front().calls.clear();
  EXPECT_NONFATAL_FAILURE(expectOutcomes(pair, 6, {bothFind}), "no right way through its native");
}

// The search itself: it counts schedules correctly, and reports everything about one that goes wrong.
#include "schedules.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <string>

using namespace scripted;

/// Two threads that each ask the runtime for a known type: two steps each.
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

TEST(Search, RunsASteppedNativeInItsOwnProcess) {
  Pair pair = asking();
  pair.inOwnProcess = true;
  expectOutcomes(pair, 6, {bothFind});
}

TEST(Search, ReportsAWrongNumber) { EXPECT_NONFATAL_FAILURE(expectOutcomes(asking(), 7, {bothFind}), "Which is: 6"); }

TEST(Search, ReportsAnOutcomeThatDoesNotOccur) {
  EXPECT_NONFATAL_FAILURE(expectOutcomes(asking(), 6, {bothFind, "A never ends."}), "an outcome that no schedule has");
}

TEST(Search, NamesTheScheduleOfANewOutcome) {
  EXPECT_NONFATAL_FAILURE(expectOutcomes(asking(), 6, {}),
                          "--gtest_filter=Search.NamesTheScheduleOfANewOutcome "
                          "--schedule=AABB");
}

TEST(Search, ShowsTheCallsOfAThreadOnAnUnknownPath) {
  Pair pair = asking();
  pair.b.paths.front().ending = "null";
  EXPECT_NONFATAL_FAILURE(expectOutcomes(pair, 6, {bothFind}),
                          "thread B:\n  Orva_typeByName(\"Map\")\n  and then: Map\n");
}

TEST(Search, ReportsAnUnknownPathFromItsOwnProcess) {
  Pair pair = asking();
  pair.inOwnProcess = true;
  pair.b.paths.front().calls.clear();
  EXPECT_NONFATAL_FAILURE(expectOutcomes(pair, 6, {bothFind}), "not one of the allowed paths");
}

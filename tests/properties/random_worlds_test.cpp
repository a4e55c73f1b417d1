// Random worlds, including large ones. RapidCheck makes them, and shrinks one in which the library breaks the rules.
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "agreement.h"
#include "made_worlds.h"
#include "tests/scripted_host/scripted_host.h"

using namespace model;

using Bytes = std::vector<uint8_t>;

static constexpr int worldCount = 200'000;
// A fresh world needs its own process.
static constexpr int worldsForEachFreshOne = 200;
// A large world takes a few hundred choices.
static constexpr double choicesForEachSize = 4;

/// Checks a property with worldCount worlds, or as many as max_success in the environment variable RC_PARAMS says,
/// divided by `divisor`.
static void check(int divisor, const std::function<void(const Bytes&)>& property) {
  rc::detail::TestParams params = rc::detail::configuration().testParams;
  if (params.maxSuccess == rc::detail::TestParams().maxSuccess) params.maxSuccess = worldCount;
  params.maxSuccess = std::max(1, params.maxSuccess / divisor);
  // Printed first, because a world may crash.
  std::cout << "To make the same worlds again: RC_PARAMS=\"seed=" << params.seed << "\"\n" << std::flush;
  const auto bytes = rc::gen::scale(choicesForEachSize, rc::gen::arbitrary<Bytes>());
  const auto result = rc::detail::checkTestable([&] { property(*bytes); }, rc::detail::TestMetadata(), params);
  std::ostringstream text;
  rc::detail::printResultMessage(result, text);
  std::cout << text.str() << '\n';
  EXPECT_TRUE(result.is<rc::detail::SuccessResult>()) << text.str();
}

TEST(RandomWorlds, ArePlayedByTheRulesFromTheFirstCallOn) {
  check(worldsForEachFreshOne, [](const Bytes& bytes) {
    const Story story = freshStoryOf(bytes);
    const int status = scripted::statusOfOwnProcess([&story] { EXPECT_EQ("", disagreement(story)); });
    if (status == 0) return;
    RC_FAIL("The process of a world ended with status " + std::to_string(status) + ". Play it again:\n" +
            commandFor(story));
  });
}

TEST(RandomWorlds, ArePlayedByTheRules) {
  check(1, [](const Bytes& bytes) {
    const std::string problem = disagreement(storyOf(bytes));
    if (!problem.empty()) RC_FAIL(problem);
  });
}

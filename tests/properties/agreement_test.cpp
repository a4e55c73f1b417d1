// The comparison itself: it is silent where both do the same, and tells of a difference so that it can be played again.
#include "agreement.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/scripted_host/scripted_host.h"

using namespace model;

TEST(Agreement, IsSilentWhereBothDoTheSame) {
  EXPECT_EQ("", disagreement(storyFrom("call loadClass \"A\"\ncall getTypeByName \"A\"\n")));
}

/// The world claims an object that the library has not made.
TEST(Agreement, TellsBothSidesAndHowToPlayThemAgain) {
  scripted::inOwnProcess([] {
    const Story story = storyFrom("system-class-loader 3\ncall loadClass \"A\"\ncall getSystem\n");
    const std::string told = disagreement(story);
    EXPECT_NE(std::string::npos, told.find("The call:\n  getSystem\n")) << told;
    EXPECT_NE(std::string::npos, told.find("expected:\n  result: object 3\n")) << told;
    EXPECT_NE(std::string::npos, told.find("observed:\n  Runtime::getInstance()\n")) << told;
    EXPECT_NE(std::string::npos, told.find(" --world '\n" + textOf(story) + "'\n")) << told;
  });
}

TEST(Agreement, NeedsTheSameResultToo) {
  scripted::inOwnProcess([] {
    disagreement(storyFrom("call getSystem\n"));
    EXPECT_EQ("", disagreement(storyFrom("system-class-loader 1\ncall getSystem\n")));
    EXPECT_NE("", disagreement(storyFrom("system-class-loader 2\ncall getSystem\n")));
  });
}

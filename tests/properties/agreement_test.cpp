// The comparison itself: it is silent if both do the same, and reports a difference so that it can be played again.
#include "agreement.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/scripted_host/scripted_host.h"

using namespace model;

TEST(Agreement, IsSilentIfBothDoTheSame) {
  EXPECT_EQ("", disagreement(storyFrom("call loadClass \"A\"\ncall getTypeByName \"A\"\n")));
}

/// The world has an object that the library has not allocated.
TEST(Agreement, ReportsBothSidesAndHowToPlayThemAgain) {
  scripted::inOwnProcess([] {
    const Story story = storyFrom("system-class-loader 3\ncall loadClass \"A\"\ncall getSystem\n");
    const std::string report = disagreement(story);
    EXPECT_NE(std::string::npos, report.find("The call:\n  getSystem\n")) << report;
    EXPECT_NE(std::string::npos, report.find("expected:\n  result: object 3\n")) << report;
    EXPECT_NE(std::string::npos, report.find("observed:\n  Runtime::getInstance()\n")) << report;
    EXPECT_NE(std::string::npos, report.find(" --world '\n" + textOf(story) + "'\n")) << report;
  });
}

TEST(Agreement, ComparesResultsToo) {
  scripted::inOwnProcess([] {
    disagreement(storyFrom("call getSystem\n"));
    EXPECT_EQ("", disagreement(storyFrom("system-class-loader 1\ncall getSystem\n")));
    EXPECT_NE("", disagreement(storyFrom("system-class-loader 2\ncall getSystem\n")));
  });
}

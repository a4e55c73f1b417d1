// The command line of the suite: GoogleTest's own, and `--schedule=ABBA…`.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <string>

#include "command_line.h"

static std::string program;
static std::string onlySchedule;

const std::string& scheduleOnCommandLine() { return onlySchedule; }

std::string commandFor(const std::string& schedule) {
  const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
  return program + " --gtest_filter=" + test.test_suite_name() + '.' + test.name() + " --schedule=" + schedule;
}

static int refuse(const std::string& argument) {
  std::fprintf(stderr,
               "%s: unknown argument '%s': expected an option of GoogleTest, or --schedule= and letters A or B\n",
               program.c_str(), argument.c_str());
  return 2;
}

int main(int count, char** arguments) {
  testing::InitGoogleTest(&count, arguments);
  program = arguments[0];
  const std::string option = "--schedule=";
  for (int i = 1; i < count; ++i) {
    const std::string argument = arguments[i];
    if (argument.compare(0, option.size(), option) != 0) return refuse(argument);
    onlySchedule = argument.substr(option.size());
    if (onlySchedule.empty() || onlySchedule.find_first_not_of("AB") != std::string::npos) return refuse(argument);
  }
  return RUN_ALL_TESTS();
}

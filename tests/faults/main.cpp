// Registers a test for each path, which tries every fault on it, and one for the table of what each leads to, and one
// for the calls that the paths make.
#include <gtest/gtest.h>

#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <utility>

#include "table.h"
#include "trial.h"

namespace faults {

namespace {

class PathTest : public testing::Test {
 public:
  explicit PathTest(Path path) : path_(std::move(path)) {}

  void TestBody() override {
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    const std::string name = std::string(test.test_suite_name()) + '.' + test.name();
    const Course course = courseOf(path_);
    for (const Fault& fault : faultsOf(path_, course)) {
      SCOPED_TRACE(named(path_, course, fault) + "\nTo run it again: " + program + " --gtest_filter='" + name + '\'');
      tryFault(path_, course, fault);
    }
  }

  static inline std::string program;

 private:
  Path path_;
};

/// Compares the table on the page with the outcome of every case.
class TableTest : public testing::Test {
  void TestBody() override {
    std::ifstream file(PAGE);
    const std::string page{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    const std::size_t start = page.find("| native |");
    ASSERT_NE(std::string::npos, start) << PAGE << " has no table";
    const std::string table = failureTable();
    EXPECT_TRUE(table == page.substr(start, table.size())) << PAGE << " must show the table of this run:\n" << table;
  }
};

/// A call that no path makes never fails here.
class OperationsTest : public testing::Test {
  void TestBody() override {
    std::set<std::string> made;
    for (const Path& path : everyPath()) {
      for (const std::string& call : courseOf(path).calls) made.insert(call.substr(0, call.find('(')));
    }
    for (std::size_t index = 0; index < model::operationCount; ++index) {
      const std::string operation = nameOf(static_cast<model::Operation>(index));
      EXPECT_EQ(1U, made.count(operation)) << "no path of paths.cpp calls " << operation;
    }
  }
};

}  // namespace

static std::string testName(const Path& path) {
  std::string name;
  for (const char byte : path.name) {
    if (std::isalnum(static_cast<unsigned char>(byte)) != 0) {
      name += byte;
    } else if (byte == '<' || byte == '>') {
      name += byte == '<' ? "less" : "greater";
    } else if (byte == ' ') {
      name += '_';
    }
  }
  return name;
}

static void registerTests() {
  for (const Path& path : everyPath()) {
    const std::string call = textOf(callOf(path));
    testing::RegisterTest(call.substr(0, call.find(' ')).c_str(), testName(path).c_str(), nullptr, nullptr, __FILE__,
                          __LINE__, [path]() -> testing::Test* { return new PathTest(path); });
  }
  testing::RegisterTest("Table", "SaysWhatComesOfEachFault", nullptr, nullptr, __FILE__, __LINE__,
                        []() -> testing::Test* { return new TableTest; });
  testing::RegisterTest("Paths", "MakeEveryCallIntoTheHost", nullptr, nullptr, __FILE__, __LINE__,
                        []() -> testing::Test* { return new OperationsTest; });
}
}  // namespace faults

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  faults::PathTest::program = std::filesystem::absolute(argv[0]).string();
  faults::registerTests();
  return RUN_ALL_TESTS();
}

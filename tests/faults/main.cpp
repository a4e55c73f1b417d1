// Registers a test for each native, path and kind of fault, and one for the table of what comes of them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "matrix.h"
#include "table.h"
#include "temporary_folder.h"
#include "trial.h"

namespace faults {
namespace {

void tryAll(const Path& path, Group group, const std::string& command) {
  for (const Case& tried : casesOf(path, group, allocationsOf(path))) {
    SCOPED_TRACE(named(path, tried.fault) + "\nTo run it again: " + command);
    tryFault(path, tried.fault);
  }
}

/// Tries every fault of one kind on one path.
class PathTest : public testing::Test {
 public:
  PathTest(Path path, Group group) : path_(std::move(path)), group_(group) {}

  void TestBody() override {
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    const std::string name = std::string(test.test_suite_name()) + '.' + test.name();
    tryAll(path_, group_, program + " --gtest_filter='" + name + '\'');
  }

  static inline std::string program;

 private:
  Path path_;
  Group group_;
};

/// Compares the table of the page with what comes of every case.
class TableTest : public testing::Test {
  void TestBody() override {
    std::ifstream file(PAGE);
    const std::string page{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    const std::size_t start = page.find("| native |");
    ASSERT_NE(std::string::npos, start) << PAGE << " has no table";
    const std::string table = failureTable();
    EXPECT_TRUE(table == page.substr(start, table.size())) << PAGE << " shows another table than this run:\n" << table;
  }
};

std::string testName(const Path& path, Group group) {
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
  return name + '/' + nameOf(group);
}

void registerTest(const Path& path, Group group) {
  testing::RegisterTest(path.native->symbol.c_str(), testName(path, group).c_str(), nullptr, nullptr, __FILE__,
                        __LINE__, [path, group]() -> testing::Test* { return new PathTest(path, group); });
}

/// Tells whether a path has anything that can fail so.
bool meets(const Path& path, Group group) {
  const Steps calls = stepsOf(path);
  const auto has = [&calls](auto... kinds) {
    return std::any_of(calls.begin(), calls.end(), [=](const Step& step) { return ((step.kind == kinds) || ...); });
  };
  using Kind = Step::Kind;
  switch (group) {
    case Group::allocations: return path.bridged || has(Kind::hostCall);
    case Group::hostCalls: return has(Kind::hostCall);
    case Group::lock: return has(Kind::lock);
    case Group::systemCalls: return has(Kind::status, Kind::open, Kind::attach);
    case Group::raises: break;
  }
  return path.native->exceptionClass || has(Kind::raise);
}

void registerTests() {
  for (const Path& path : everyPath()) {
    for (const Group group : kEveryGroup) {
      if (meets(path, group)) registerTest(path, group);
    }
  }
  testing::RegisterTest("Table", "SaysWhatComesOfEachFault", nullptr, nullptr, __FILE__, __LINE__,
                        []() -> testing::Test* { return new TableTest; });
}

}  // namespace
}  // namespace faults

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  faults::PathTest::program = std::filesystem::absolute(argv[0]).string();
  const TemporaryFolder files;
  faults::makeFiles(files);
  std::filesystem::current_path(files.path());
  faults::registerTests();
  return RUN_ALL_TESTS();
}

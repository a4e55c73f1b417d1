// Registers a test for each native, path and kind of fault, and writes the page of what comes of each fault.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "matrix.h"
#include "page.h"
#include "temporary_folder.h"
#include "trial.h"

namespace faults {
namespace {

// What the page says of memory depends on where the optimisation and the standard library allocate. The project's
// builds with this compiler agree on it, sanitizers and the library's debug mode included.
#if defined(__GLIBCXX__) && !defined(__clang__) && __GNUC__ == 12
constexpr bool kMakesPage = true;
#else
constexpr bool kMakesPage = false;
#endif

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

std::vector<std::string> linesOf(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

/// Shows the lines between the first and the last that differ.
std::string difference(const std::string& written, const std::string& made) {
  std::vector<std::string> before = linesOf(written);
  std::vector<std::string> after = linesOf(made);
  std::size_t same = 0;
  while (same < before.size() && same < after.size() && before[same] == after[same]) ++same;
  while (before.size() > same && after.size() > same && before.back() == after.back()) {
    before.pop_back();
    after.pop_back();
  }
  std::string text = "from line " + std::to_string(same + 1) + ":\n";
  for (std::size_t line = same; line < before.size(); ++line) text += "- " + before[line] + '\n';
  for (std::size_t line = same; line < after.size(); ++line) text += "+ " + after[line] + '\n';
  return text;
}

/// Compares the page with what this build finds, where this build may write it.
class PageTest : public testing::Test {
  void TestBody() override {
    const Page made = page();
    EXPECT_LE(1000U, made.cases);
    if (!kMakesPage) return;
    std::ifstream file(PAGE);
    const std::string written{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    EXPECT_TRUE(written == made.text) << PAGE << " is not what the library does, " << difference(written, made.text)
                                      << "Where the change is meant, run\n"
                                      << "  cmake --build --preset dev --target failure-matrix";
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
  testing::RegisterTest("Page", "SaysWhatComesOfEachFault", nullptr, nullptr, __FILE__, __LINE__,
                        []() -> testing::Test* { return new PageTest; });
}

/// Writes the page once every fault was tried; the tests do the trying, each in its turn.
int writePage() {
  if (!kMakesPage) {
    std::cerr << PAGE << " is made with g++ 12 and libstdc++ only, and this is another build\n";
    return EXIT_FAILURE;
  }
  const int failed = RUN_ALL_TESTS();
  if (failed != 0) return failed;
  const Page made = page();
  std::ofstream file(PAGE);
  file << made.text;
  if (file.flush()) return EXIT_SUCCESS;
  std::cerr << PAGE << " cannot be written\n";
  return EXIT_FAILURE;
}

}  // namespace
}  // namespace faults

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const std::string option = argc > 1 ? argv[1] : "";
  if (argc > 2 || (!option.empty() && option != "--write-page")) {
    std::cerr << argv[0] << ": unknown argument '" << argv[argc - 1] << "'; --write-page is the only one\n";
    return EXIT_FAILURE;
  }
  faults::PathTest::program = std::filesystem::absolute(argv[0]).string();
  const TemporaryFolder files;
  faults::makeFiles(files);
  std::filesystem::current_path(files.path());
  faults::registerTests();
  if (option.empty()) return RUN_ALL_TESTS();
  testing::GTEST_FLAG(filter) = "-Page.*";
  return faults::writePage();
}

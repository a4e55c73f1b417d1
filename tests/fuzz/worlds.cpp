// Turns any bytes into worlds that can be played.
#include "worlds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

#include "finding.h"
#include "tests/properties/agreement.h"
#include "tests/properties/file_rules.h"
#include "tests/properties/world_text.h"

using namespace model;

static constexpr std::size_t mostCalls = 6;
static constexpr std::size_t mostFiles = 12;
static constexpr std::size_t longestPath = 40;
static constexpr int32_t mostEntries = 100;

namespace {

/// Reports failed assertions of the code that sets up the world as findings too.
class AbortOnFailure : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult& result) override {
    if (result.failed()) finding(result.message());
  }
};

}  // namespace

/// Reads a story, and skips lines that cannot be read.
static Story storyOf(const std::string& text) {
  std::string readable;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    // Strings of the host cannot contain a zero byte.
    if (line.find('\0') != std::string::npos) continue;
    try {
      storyFrom(line);
      readable += line + '\n';
    } catch (const std::runtime_error&) {
      // Not a line of a world.
    }
  }
  return storyFrom(readable);
}

/// Tells whether a path stays below the folder of the world, whatever it is appended to.
static bool staysInside(const std::string& path) {
  const std::string framed = '/' + path + '/';
  return path.substr(0, 1) != "/" && framed.find("/../") == std::string::npos;
}

static bool isProperPath(const std::string& path) {
  const std::string framed = '/' + path + '/';
  const auto has = [&](const char* part) { return framed.find(part) != std::string::npos; };
  return path.size() <= longestPath && staysInside(path) && !has("//") && !has("/./");
}

static std::vector<File> filesThatFit(const std::vector<File>& files) {
  std::vector<File> fitting;
  for (const File& file : files) {
    const auto fits = [&](const File& other) { return fitTogether(file, other); };
    const bool isLink = file.kind == FileKind::link;
    const bool isProper = isProperPath(file.path) && (!isLink || (!file.target.empty() && staysInside(file.target)));
    if (isProper && fitting.size() < mostFiles && std::all_of(fitting.begin(), fitting.end(), fits)) {
      fitting.push_back(file);
    }
  }
  return fitting;
}

template <typename Things, typename IsBad>
static void leaveOut(Things& things, const IsBad& isBad) {
  things.erase(std::remove_if(things.begin(), things.end(), isBad), things.end());
}

/// Limits sizes for which a vector would really allocate that much memory.
static void limitSize(std::optional<List>& list) {
  constexpr int64_t plenty = 1000;
  constexpr int64_t beyondEveryVector = INT64_MAX / 16;
  if (list && list->size && *list->size > plenty && *list->size < beyondEveryVector) *list->size %= plenty;
}

static bool isPlayable(const Call& call, const std::vector<Native>& natives) {
  if (std::find(natives.begin(), natives.end(), call.native) == natives.end()) return false;
  const std::string name = call.name.value_or("");
  // A segment that begins with a slash would be an absolute path.
  if (call.native == Native::loadPackageTypes) return ('.' + name).find("./") == std::string::npos;
  return call.native != Native::addSourceRoot || staysInside(name);
}

static void limitWorld(World& world) {
  if (world.count) world.count = std::min(*world.count, mostEntries);
  world.files = filesThatFit(world.files);
  leaveOut(world.roots, [](const std::string& root) { return !staysInside(root); });
  // Not every number is an error.
  if (world.readingError <= 0) world.readingError = EIO;
}

void playWorld(const uint8_t* data, std::size_t size, const std::vector<Native>& natives) {
  static testing::TestEventListener* const listener = [] {
    auto* const added = new AbortOnFailure();
    testing::UnitTest::GetInstance()->listeners().Append(added);
    return added;
  }();
  static_cast<void>(listener);
  Story story = storyOf({reinterpret_cast<const char*>(data), size});
  limitWorld(story.world);
  leaveOut(story.calls, [&](const Call& call) { return !isPlayable(call, natives); });
  if (story.calls.size() > mostCalls) story.calls.resize(mostCalls);
  for (Call& call : story.calls) {
    limitSize(call.files);
    limitSize(call.identities);
  }
  const std::string difference = disagreement(story);
  require(difference.empty(), difference);
}

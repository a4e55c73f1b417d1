// Lists folders with the standard library alone, and makes its allocations fail.
#include "directory_iterator.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <map>
#include <new>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "file_tree.h"
#include "log.h"
#include "tests/scripted_host/allocations.h"
#include "tests/scripted_host/scripted_host.h"
#include "tests/scripted_host/system_calls.h"

namespace fs = std::filesystem;

namespace faults {

static constexpr int endedStatus = 42;
static constexpr int lostDirectory = 43;

/// What each failing allocation leads to, by the number of reads before it.
using Failures = std::map<std::size_t, std::vector<IteratorFailure>>;

int openDescriptors() {
  constexpr int mostFiles = 256;
  int open = 0;
  for (int descriptor = 0; descriptor < mostFiles; ++descriptor) open += fcntl(descriptor, F_GETFD) >= 0 ? 1 : 0;
  return open;
}

static void list(const std::string& folder) {
  std::error_code error;
  fs::directory_iterator entry(folder, fs::directory_options::skip_permission_denied, error);
  while (!error && entry != fs::directory_iterator()) entry.increment(error);
}

/// Lists a folder with one allocation failing, and logs for each allocation how many reads came before it.
static void listUntil(const std::string& folder, bool typesHidden, std::size_t failing) {
  std::size_t readings = 0;
  std::size_t number = 0;
  const system_calls::Scope scope;
  system_calls::sortEntries();
  if (typesHidden) system_calls::hideEntryTypes();
  system_calls::onEachCall([&readings](const std::string& call) {
    if (call == "readdir()") ++readings;
    return 0;
  });
  const allocations::Watch watch([&] {
    log::write(std::to_string(readings));
    return number++ == failing;
  });
  try {
    list(folder);
  } catch (const std::bad_alloc&) {
    // Either way is allowed.
  }
}

static IteratorFailure failureOf(const std::string& folder, bool typesHidden, std::size_t allocation) {
  const int status = scripted::statusOfOwnProcess([&] {
    std::set_terminate([] { _exit(endedStatus); });
    const int before = openDescriptors();
    listUntil(folder, typesHidden, allocation);
    if (openDescriptors() != before) _exit(lostDirectory);
  });
  switch (WIFEXITED(status) ? WEXITSTATUS(status) : -1) {
    case EXIT_SUCCESS: return IteratorFailure::throws;
    case lostDirectory: return IteratorFailure::losesDirectory;
    case endedStatus: return IteratorFailure::endsProcess;
    default: ADD_FAILURE() << "listing " << folder << " ended with status " << status;
  }
  return IteratorFailure::throws;
}

static Failures failuresOf(const Path& path, const std::string& folder) {
  const model::InFilesOf files(path.story.world);
  const bool typesHidden = path.story.world.typesHidden;
  log::clear();
  listUntil(folder, typesHidden, SIZE_MAX);
  const std::vector<std::string> readings = log::lines();
  Failures failures;
  for (std::size_t number = 0; number < readings.size(); ++number) {
    failures[std::stoul(readings[number])].push_back(failureOf(folder, typesHidden, number));
  }
  return failures;
}

/// Returns the folder that a path lists.
static std::string folderOf(const Course& course) {
  const auto opens = [](const std::string& call) {
    return call.rfind("openat(\"", 0) == 0 || call.rfind("opendir(\"", 0) == 0;
  };
  const std::string call = *std::find_if(course.calls.begin(), course.calls.end(), opens);
  const std::size_t start = call.find('"') + 1;
  return call.substr(start, call.rfind('"') - start);
}

IteratorFailure iteratorFailure(const Path& path, const Course& course, std::size_t readings, std::size_t nth) {
  static std::map<std::string, Failures> known;
  auto place = known.find(path.name);
  if (place == known.end()) place = known.emplace(path.name, failuresOf(path, folderOf(course))).first;
  const std::vector<IteratorFailure>& failures = place->second[readings];
  return nth < failures.size() ? failures[nth] : IteratorFailure::throws;
}

}  // namespace faults

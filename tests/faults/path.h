// A path: one way through a native, with the calls that it makes when nothing fails, written down by hand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "scripted_host.h"
#include "temporary_folder.h"

namespace faults {

struct Course;

/// One call of a path, as its line in the record.
struct Step {
  enum class Kind { hostCall, raise, lock, unlock, status, open, attach, read, close };

  Kind kind = Kind::hostCall;
  std::string line;
  /// How the path goes on after this system call failed.
  std::function<Course(int error)> otherwise;
};

using Steps = std::vector<Step>;

/// The calls from some point of a path to its end: those that the native's bridge guards, then those outside of it.
struct Course {
  Steps inside;
  Steps outside;
  intptr_t result = 0;
  std::string name = "as usual";  // on the page
};

/// What the bridge of a native does; a native without one has no class.
struct Native {
  std::string symbol;
  std::optional<std::string> exceptionClass;
  std::optional<std::string> otherText;  // raised for objects that are no std::exception, where those are caught
  std::string failureValue;
};

/// A host that is ready for one call, and the call.
struct Arranged {
  std::function<intptr_t()> call;
  std::vector<void*> lists;
};

struct Path {
  const Native* native = nullptr;
  std::string name;
  bool bridged = false;  // whether the path enters the bridge
  Course usual;
  std::function<Arranged()> arrange;

  std::string listedFolder;  // of the directory that the path lists
  bool typesHidden = false;

  // For a native whose state lasts as long as the process.
  std::function<void()> history;                          // the calls before the one that is tried
  std::function<Course(std::size_t, intptr_t)> nextCall;  // what follows, by completed calls and result
};

/// Turns lines and steps into steps; a line tells by itself what kind it is.
inline Step step(const std::string& line) {
  const auto is = [&line](const char* head) { return line.rfind(head, 0) == 0; };
  if (is("Orva_raise(")) return {Step::Kind::raise, line, {}};
  if (is("lock(")) return {Step::Kind::lock, line, {}};
  if (is("unlock(")) return {Step::Kind::unlock, line, {}};
  return {Step::Kind::hostCall, line, {}};
}

inline void add(Steps& steps, const std::string& line) { steps.push_back(step(line)); }
inline void add(Steps& steps, const Step& more) { steps.push_back(more); }
inline void add(Steps& steps, const Steps& more) { steps.insert(steps.end(), more.begin(), more.end()); }
inline void add(Steps& steps, const std::vector<std::string>& lines) {
  for (const std::string& line : lines) add(steps, line);
}

template <typename... Parts>
Steps steps(const Parts&... parts) {
  Steps all;
  (add(all, parts), ...);
  return all;
}

inline intptr_t asResult(const void* handle) { return reinterpret_cast<intptr_t>(handle); }

// The paths, by the sources that they go through.
std::vector<Path> boundaryPaths();
std::vector<Path> typeLookupPaths();
std::vector<Path> systemClassLoaderPaths();
std::vector<Path> packageLoadingPaths();
std::vector<Path> classPathPaths();
std::vector<Path> pluginPaths();

/// Lays out, in the working directory, the files that the paths meet.
void makeFiles(const TemporaryFolder& files);

}  // namespace faults

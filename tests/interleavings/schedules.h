// Runs every schedule of a pair of natives, and compares the outcomes with those that are allowed.
// Two natives are in no pair because no other native affects them: orva_ClassLoader_objectAbiVersion makes one call,
// and orva_ClassLoader_precompileSources reads its caller's list and registers nothing.
#pragma once

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "stepped_host.h"

/// One correct way through a native for one thread: what it means, its calls, and how it ends.
struct Path {
  std::string words;
  std::vector<std::string> calls;
  std::string ending;
};

/// What one thread does: it calls a native and describes how that ended.
struct Side {
  std::function<std::string(const SteppedHost&)> call;
  std::vector<Path> paths;
};

/// Two simultaneous natives, in a world that is created anew for every schedule.
struct Pair {
  std::function<void(SteppedHost&)> world;
  Side a;
  Side b;
  /// Describes what is left when both threads have ended.
  std::function<std::string(const SteppedHost&)> leaves = [](const SteppedHost& host) { return host.compiled(); };
  /// True for natives whose state lasts as long as the process.
  bool inOwnProcess = false;
  /// Whether its schedules count towards the total of the suite. Those of tests of the search itself do not.
  bool isInTotal = true;
};

/// Runs every schedule of the pair. Fails at the first schedule in which a thread takes an unknown path or whose
/// outcome is not expected, and if an expected outcome does not occur or the number of schedules differs. An outcome
/// reads "A <words of a path>. B <words of a path>. <What is left>."
/// With `--schedule` on the command line, runs only that one and prints its calls.
void expectOutcomes(const Pair& pair, std::size_t schedules, const std::set<std::string>& outcomes);

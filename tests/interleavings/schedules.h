// Runs every schedule of a pair of natives, and compares the outcomes that were seen with those that may be.
// Two natives are in no pair, since nothing that others change reaches them: orva_ClassLoader_objectAbiVersion makes
// one call, and orva_ClassLoader_precompileSources reads a list of its caller's and registers nothing.
#pragma once

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "stepped_host.h"

/// One way through a native that is right for one thread: what it means, its calls, and how it ends.
struct Path {
  std::string words;
  std::vector<std::string> calls;
  std::string ending;
};

/// What one thread does: calls a native and says how that ended.
struct Side {
  std::function<std::string(const SteppedHost&)> call;
  std::vector<Path> paths;
};

/// Two natives at once, in a world that is made anew for every schedule.
struct Pair {
  std::function<void(SteppedHost&)> world;
  Side a;
  Side b;
  /// Says what is left when both threads have ended.
  std::function<std::string(const SteppedHost&)> leaves = [](const SteppedHost& host) { return host.compiled(); };
  /// For natives with state that lasts as long as the process.
  bool inOwnProcess = false;
  /// Whether its schedules count among those of the suite; a test of the search itself leaves them out.
  bool isInTotal = true;
};

/// Runs every schedule of the pair. Fails at the first schedule in which a thread leaves its paths or whose outcome is
/// not expected, and when an expected outcome is not seen or the number of schedules differs. An outcome reads
/// "A <words of a path>. B <words of a path>. <What is left>."
/// With `--schedule` on the command line, runs that one alone and prints its calls.
void expectOutcomes(const Pair& pair, std::size_t schedules, const std::set<std::string>& outcomes);

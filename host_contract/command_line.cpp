// The kit's command line: which checks run, and what is printed of them.
#include <fnmatch.h>
#include <getopt.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "host_contract/examine.h"

namespace orva::host_contract {

static constexpr const char* usage =
    "Usage: %s [--list] [--here] [--seconds N] [PATTERN…]\n"
    "Checks whether the host that is linked into this program keeps what the class loading library relies on.\n"
    "\n"
    "PATTERN       run the checks alone that it matches: a room ('types'), a check ('types.ANullNameIsTaken'),\n"
    "              or a pattern of the shell ('*.TheMutex*')\n"
    "--list        print the checks and what breaks without them, and run none\n"
    "--here        run one check in this process, for a debugger\n"
    "--seconds N   how long a check may take, from 1 to 3600 (20)\n"
    "--help        print this\n"
    "\n"
    "Exit status: 0 when no required check is broken, 1 when one is, 2 when the command line is wrong\n"
    "or the checks could not be run.\n";

struct Options {
  bool list = false;
  bool here = false;
  int seconds = 20;
  std::vector<Check> checks;
};

/// How often each ending came.
struct Totals {
  int held = 0;
  int broken = 0;
  int brokenRequired = 0;
  int notRun = 0;
};

/// Tells whether all that was printed has arrived, and says so when it has not.
static bool printed() {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return true;
  std::perror("The report could not be printed");
  return false;
}

static bool matches(const Check& check, const std::string& pattern) {
  return pattern == check.room || fnmatch(pattern.c_str(), check.fullName().c_str(), 0) == 0;
}

/// Adds the checks that match, in their own order. Says so and answers false when there is none.
static bool choose(const std::vector<std::string>& patterns, std::vector<Check>& chosen) {
  for (const std::string& pattern : patterns) {
    const auto fits = [&](const Check& check) { return matches(check, pattern); };
    if (std::none_of(allChecks().begin(), allChecks().end(), fits)) {
      std::fprintf(stderr, "No check matches '%s'; --list prints them all\n", pattern.c_str());
      return false;
    }
  }
  for (const Check& check : allChecks()) {
    const auto fits = [&](const std::string& pattern) { return matches(check, pattern); };
    if (patterns.empty() || std::any_of(patterns.begin(), patterns.end(), fits)) chosen.push_back(check);
  }
  return true;
}

/// Reads a number of seconds. Says what is wrong and answers false for anything else.
static bool readSeconds(const char* text, int& seconds) {
  char* end = nullptr;
  const long value = std::strtol(text, &end, 10);
  if (end == text || *end != '\0' || value < 1 || value > 3600) {
    std::fprintf(stderr, "--seconds takes a number from 1 to 3600, not '%s'\n", text);
    return false;
  }
  seconds = static_cast<int>(value);
  return true;
}

/// @return -1 to go on, or the exit status.
static int readOptions(int argumentCount, char** arguments, Options& options) {
  static const option known[] = {{"list", no_argument, nullptr, 'l'},
                                 {"here", no_argument, nullptr, 'e'},
                                 {"seconds", required_argument, nullptr, 's'},
                                 {"help", no_argument, nullptr, 'h'},
                                 {nullptr, 0, nullptr, 0}};
  optind = 1;
  for (int letter = 0; (letter = getopt_long(argumentCount, arguments, "h", known, nullptr)) != -1;) {
    if (letter == 'h') {
      std::printf(usage, arguments[0]);
      return printed() ? 0 : 2;
    }
    if (letter == '?' || (letter == 's' && !readSeconds(optarg, options.seconds))) return 2;
    if (letter == 'l') options.list = true;
    if (letter == 'e') options.here = true;
  }
  if (!choose({arguments + optind, arguments + argumentCount}, options.checks)) return 2;
  if (options.here && options.checks.size() != 1) {
    std::fprintf(stderr, "--here runs one check, and %zu are asked for\n", options.checks.size());
    return 2;
  }
  return -1;
}

static const char* nameOf(Weight weight) { return weight == Weight::required ? "required" : "advised"; }

static void list(const std::vector<Check>& checks) {
  for (const Check& check : checks) {
    std::printf("%s (%s)\n    %s\n", check.fullName().c_str(), nameOf(check.weight), check.because.c_str());
  }
}

static void print(const Check& check, const Outcome& outcome) {
  static constexpr const char* kinds[] = {"held", "BROKEN", "not run"};
  std::printf("%-8s %-8s  %s\n", kinds[outcome.kind], nameOf(check.weight), check.fullName().c_str());
  if (outcome.kind == Outcome::broken) {
    std::printf("    seen: %s\n    so: %s\n", outcome.seen.c_str(), check.because.c_str());
  }
  std::fflush(stdout);
}

static void count(const Check& check, const Outcome& outcome, Totals& totals) {
  if (outcome.kind == Outcome::held) ++totals.held;
  if (outcome.kind == Outcome::notRun) ++totals.notRun;
  if (outcome.kind != Outcome::broken) return;
  ++totals.broken;
  if (check.weight == Weight::required) ++totals.brokenRequired;
}

/// Runs the checks and prints each as it ends, then the totals.
static Totals examineAll(const Options& options, Hooks& hooks) {
  Totals totals;
  std::vector<std::string> reasons;
  for (const Check& check : options.checks) {
    const Outcome outcome = options.here ? examineHere(check, hooks) : examine(check, hooks, options.seconds);
    print(check, outcome);
    count(check, outcome, totals);
    const bool isNew = std::find(reasons.begin(), reasons.end(), outcome.seen) == reasons.end();
    if (outcome.kind == Outcome::notRun && isNew) reasons.push_back(outcome.seen);
  }
  std::printf("\n%d held, %d broken (%d of them required), %d not run\n", totals.held, totals.broken,
              totals.brokenRequired, totals.notRun);
  for (const std::string& reason : reasons) std::printf("not run: %s\n", reason.c_str());
  return totals;
}

int run(int argumentCount, char** arguments, Hooks& hooks) {
  Options options;
  const int status = readOptions(argumentCount, arguments, options);
  if (status >= 0) return status;
  if (options.list) {
    list(options.checks);
    return printed() ? 0 : 2;
  }
  try {
    const Totals totals = examineAll(options, hooks);
    if (!printed()) return 2;
    return totals.brokenRequired == 0 ? 0 : 1;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "The checks could not be run: %s\n", failure.what());
    return 2;
  }
}

}  // namespace orva::host_contract

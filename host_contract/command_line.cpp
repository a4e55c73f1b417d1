// The kit's command line: chooses the checks to run, and prints their outcomes.
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
    "Usage: %s [--list] [--here] [--strict] [--seconds N] [PATTERN…]\n"
    "Checks whether the host linked into this program does what the class-loading library relies on.\n"
    "\n"
    "PATTERN       run only the checks that match: a room ('types'), a check ('types.ANullNameIsTaken'),\n"
    "              or a shell pattern ('*.TheMutex*')\n"
    "--list        list the checks, with what goes wrong when a host breaks them, and run none\n"
    "--here        run one check in this process, for a debugger\n"
    "--strict      exit with 1 when an advised check is broken too\n"
    "--seconds N   time limit of a check, from 1 to 3600 (20); a quarter of it once a check has hung\n"
    "--help        print this\n"
    "\n"
    "When a required check is broken, the library returns wrong results, hangs or crashes.\n"
    "The other checks are advised.\n"
    "After two checks of a room have hung, the rest of the room is not run; after four, no more are.\n"
    "Exit status: 0 when no required check is broken, 1 when one is, 2 when the command line is wrong\n"
    "or the checks could not be run.\n";

struct Options {
  bool list = false;
  bool here = false;
  bool strict = false;
  int seconds = 20;
  std::vector<Check> checks;
};

/// How many checks ended in each way.
struct Totals {
  int held = 0;
  int broken = 0;
  int brokenRequired = 0;
  int notRun = 0;
};

/// Tells whether everything could be printed; prints an error if not.
static bool printed() {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return true;
  std::perror("The report could not be printed");
  return false;
}

static bool matches(const Check& check, const std::string& pattern) {
  return pattern == check.room || fnmatch(pattern.c_str(), check.fullName().c_str(), 0) == 0;
}

/// Adds the checks that match, in the order of `allChecks`. Prints an error and returns false if a pattern matches
/// none.
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

/// Reads a number of seconds. Prints an error and returns false for anything else.
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

/// @return -1 to continue, or the exit status.
static int readOptions(int argumentCount, char** arguments, Options& options) {
  static const option known[] = {{"list", no_argument, nullptr, 'l'},   {"here", no_argument, nullptr, 'e'},
                                 {"strict", no_argument, nullptr, 't'}, {"seconds", required_argument, nullptr, 's'},
                                 {"help", no_argument, nullptr, 'h'},   {nullptr, 0, nullptr, 0}};
  optind = 1;
  for (int letter = 0; (letter = getopt_long(argumentCount, arguments, "h", known, nullptr)) != -1;) {
    if (letter == 'h') {
      std::printf(usage, arguments[0]);
      return printed() ? 0 : 2;
    }
    if (letter == '?' || (letter == 's' && !readSeconds(optarg, options.seconds))) return 2;
    if (letter == 'l') options.list = true;
    if (letter == 'e') options.here = true;
    if (letter == 't') options.strict = true;
  }
  if (!choose({arguments + optind, arguments + argumentCount}, options.checks)) return 2;
  if (options.here && options.checks.size() != 1) {
    std::fprintf(stderr, "--here runs one check, but %zu are selected\n", options.checks.size());
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

namespace {

/// The run of several checks: which of them are still worth their time, and how they ended.
class Run {
 public:
  explicit Run(int seconds) : seconds_(seconds) {}

  /// How long the next check may take. A host that has hung once will probably hang again, so the rest get less time.
  int seconds() const { return hung_.empty() ? seconds_ : (seconds_ + 3) / 4; }

  /// Why a check is not worth its time; empty when it is.
  std::string reasonToSkip(const Check& check) const {
    if (isUnusable_) return "no other check can be run until that is fixed";
    if (hung_.size() >= 4) return "four checks hung";
    if (std::count(hung_.begin(), hung_.end(), check.room) >= 2) return "two checks of " + check.room + " hung";
    return {};
  }

  void note(const Check& check, const Outcome& outcome) {
    if (outcome.kind == Outcome::hung) hung_.push_back(check.room);
    if (outcome.kind == Outcome::unusable || outcome.kind == Outcome::unstarted) isUnusable_ = true;
    const bool isRequired = check.weight == Weight::required || outcome.kind == Outcome::unstarted;
    if (outcome.kind == Outcome::held) ++totals_.held;
    if (outcome.isBroken()) ++totals_.broken;
    if (outcome.isBroken() && isRequired) ++totals_.brokenRequired;
    if (outcome.kind != Outcome::notRun) return;
    ++totals_.notRun;
    const bool isNew = std::find(reasons_.begin(), reasons_.end(), outcome.seen) == reasons_.end();
    if (isNew) reasons_.push_back(outcome.seen);
  }

  const Totals& printTotals() const {
    std::printf("\n%d held, %d broken (%d of them required), %d not run\n", totals_.held, totals_.broken,
                totals_.brokenRequired, totals_.notRun);
    for (const std::string& reason : reasons_) std::printf("not run: %s\n", reason.c_str());
    return totals_;
  }

 private:
  const int seconds_;
  bool isUnusable_ = false;
  std::vector<std::string> hung_;  ///< the room of each check that hung
  Totals totals_;
  std::vector<std::string> reasons_;  ///< why checks were not run
};

}  // namespace

static void print(const Check& check, const Outcome& outcome) {
  const char* const kind = outcome.isBroken() ? "BROKEN" : outcome.kind == Outcome::held ? "held" : "not run";
  const bool isStarted = outcome.kind != Outcome::unstarted;
  const std::string name = isStarted ? check.fullName() : "the hook start";
  const char* const because = isStarted ? check.because.c_str() : "No check can be run on this host.";
  std::printf("%-8s %-8s  %s\n", kind, nameOf(isStarted ? check.weight : Weight::required), name.c_str());
  if (outcome.isBroken()) std::printf("    seen: %s\n    effect: %s\n", outcome.seen.c_str(), because);
  std::fflush(stdout);
}

/// Runs the checks and prints each as it ends, then the totals.
static Totals examineAll(const Options& options, Hooks& hooks) {
  Run run(options.seconds);
  for (const Check& check : options.checks) {
    const std::string reason = run.reasonToSkip(check);
    if (!reason.empty()) {
      run.note(check, {Outcome::notRun, reason});
      continue;
    }
    const Outcome outcome =
        options.here ? examineHere(check, hooks, options.seconds) : examine(check, hooks, run.seconds());
    print(check, outcome);
    run.note(check, outcome);
  }
  return run.printTotals();
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
    return (options.strict ? totals.broken : totals.brokenRequired) == 0 ? 0 : 1;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "The checks could not be run: %s\n", failure.what());
    return 2;
  }
}

}  // namespace orva::host_contract

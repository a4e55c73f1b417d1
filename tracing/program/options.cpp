// Options: a table for the help and the checks, and what each stores.
#include "tracing/program/options.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "classloader/version.h"
#include "reference_host/language/option_table.h"
#include "reference_host/language/printable_text.h"
#include "tracing/calls/calls.h"
#include "tracing/program/failure.h"

namespace orva::tracing {

namespace {

using language::inQuotes;
using language::Option;

constexpr std::array optionTable = {
    Option{"--output", "FILE", "Write the calls to FILE, not to standard error"},
    Option{"--json", "FILE", "Write them to FILE in Chrome's trace format"},
    Option{"--html", "FILE", "Write them to FILE as a page for a browser"},
    Option{"--summary", "", "Print where time went, not each call"},
    Option{"--native", "NAME", "Show only this native, such as getTypeByName"},
    Option{"--name", "TEXT", "Show only natives with TEXT in them, in an argument or a result"},
    Option{"--slower", "DURATION", "Show only natives that took at least this long, such as 2ms"},
    Option{"--limit", "SIZE", "Let each process record at most this much (default: 256M)"},
    Option{"--no-follow", "", "Trace only the first process, not its children"},
    Option{"--keep", "FOLDER", "Record in FOLDER, and leave the records there"},
    Option{"--read", "FOLDER", "Show what is recorded in FOLDER, and run nothing"},
    Option{"--dump", "PID", "Show what a running process has recorded so far"},
    Option{"--help", "", "Print this help"},
    Option{"--version", "", "Print the version"},
};

/// @param meant what was probably meant; may be empty
[[noreturn]] void failUsage(const std::string& problem, std::string_view meant = {}) {
  report(problem + (meant.empty() ? "; try 'orva-trace --help'" : "; did you mean '" + std::string(meant) + "'?"));
  std::exit(ownFailure);
}

/// Prints what was asked for, and ends the process.
[[noreturn]] void answer(const std::string& text) {
  if (std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0) std::exit(0);
  report("cannot print: " + std::generic_category().message(errno));
  std::exit(ownFailure);
}

std::string help() {
  const std::string text =
      "Usage: orva-trace [OPTION]... [--] PROGRAM [ARG]...\n"
      "       orva-trace [OPTION]... --read FOLDER | --dump PID\n"
      "       orva-trace --help | --version\n"
      "\n"
      "Shows the calls that a program makes to the orva class loaders, what each returned\n"
      "or raised, and why. The program runs unchanged.\n"
      "\n"
      "Options:\n";
  return text + language::helpOf(optionTable, 21) +
         "\n"
         "Exit status: the program's own; 127 when it is not found, 126 when it cannot be run or\n"
         "traced, 2 when the command line is wrong or orva-trace itself fails.\n";
}

constexpr std::uint64_t tooLarge = std::numeric_limits<std::uint64_t>::max();

/// Reads a number with a unit, and converts it to the smallest unit. Nothing if the text is not such a number;
/// `tooLarge` if the number is.
template <typename Units>
std::optional<std::uint64_t> measured(std::string_view text, const Units& units) {
  const std::size_t length = std::min(text.find_first_not_of("0123456789."), text.size());
  const std::string digits(text.substr(0, length));
  char* end = nullptr;
  const double number = std::strtod(digits.c_str(), &end);
  if (length == 0 || *end != '\0') return std::nullopt;
  const auto unit =
      std::find_if(units.begin(), units.end(), [&](const auto& each) { return each.first == text.substr(length); });
  if (unit == units.end()) return std::nullopt;
  return number * unit->second < 9e18 ? static_cast<std::uint64_t>(number * unit->second) : tooLarge;
}

using Unit = std::pair<std::string_view, double>;
constexpr std::array durations = {Unit{"ns", 1}, Unit{"us", 1e3}, Unit{"ms", 1e6}, Unit{"s", 1e9}};
constexpr std::array sizes = {Unit{"", 1},          Unit{"K", 1U << 10U}, Unit{"M", 1U << 20U}, Unit{"G", 1U << 30U},
                              Unit{"k", 1U << 10U}, Unit{"m", 1U << 20U}, Unit{"g", 1U << 30U}};
constexpr std::uint64_t leastLimit = 4096;  // a page, which holds the head of a trace

/// The words of the command line, taken one by one.
class CommandLine {
 public:
  CommandLine(int argc, char** argv) : words_(argv + std::min(argc, 1), argv + argc) {}

  Options parse() {
    while (at_ < words_.size() && language::isOption(words_[at_])) {
      keep(language::takeOption(optionTable, words_, at_, failUsage));
    }
    if (at_ < words_.size() && words_[at_] == "--") ++at_;
    parsed_.command.assign(words_.begin() + static_cast<std::ptrdiff_t>(at_), words_.end());
    checkWhole();
    return std::move(parsed_);
  }

 private:
  void keep(const language::GivenOption& given) {
    given.option.value.empty() ? keepFlag(given.option.name) : keepValue(given.option, given.value);
  }

  void keepFlag(std::string_view name) {
    if (name == "--help") answer(help());
    if (name == "--version") answer("orva-trace " ORVA_CLASSLOADER_VERSION "\n");
    (name == "--summary" ? parsed_.wantsSummary : parsed_.follows) = name == "--summary";
  }

  void keepValue(const Option& option, std::string_view value) {
    if (option.name == "--slower") {
      parsed_.filter.leastDuration = need(measured(value, durations), option, value, "a number with ns, us, ms or s");
    } else if (option.name == "--limit") {
      parsed_.limit = need(measured(value, sizes), option, value, "a number of bytes, with K, M or G for more");
      if (parsed_.limit < leastLimit) failValue(option, value, "4K or more");
      isLimited_ = true;
    } else if (option.name == "--native") {
      addNative(value);
    } else if (option.name == "--dump") {
      parsed_.dump = static_cast<pid_t>(processNumber(option, value));
    } else {
      std::string& text = textOf(option.name);
      if (!text.empty()) failUsage("option " + inQuotes(option.name) + " is given twice");
      text = value;
    }
  }

  std::string& textOf(std::string_view name) {
    if (name == "--output") return parsed_.output;
    if (name == "--json") return parsed_.json;
    if (name == "--html") return parsed_.html;
    if (name == "--name") return parsed_.filter.text;
    return name == "--keep" ? parsed_.keep : parsed_.read;
  }

  [[noreturn]] static void failValue(const Option& option, std::string_view value, const std::string& expected) {
    failUsage("option " + inQuotes(option.name) + " has the value " + inQuotes(value) + ": expected " + expected);
  }

  static std::uint64_t need(std::optional<std::uint64_t> number, const Option& option, std::string_view value,
                            const std::string& expected) {
    if (!number) failValue(option, value, expected);
    if (*number == tooLarge) {
      failUsage("option " + inQuotes(option.name) + " has the value " + inQuotes(value) + ", which is too large");
    }
    return *number;
  }

  static std::uint64_t processNumber(const Option& option, std::string_view value) {
    constexpr std::array plain = {Unit{"", 1}};
    const std::uint64_t number = need(measured(value, plain), option, value, "the number of a process");
    const bool isNumber = number > 0 && number <= std::numeric_limits<pid_t>::max();
    if (!isNumber || value.find('.') != value.npos) failValue(option, value, "the number of a process");
    return number;
  }

  void addNative(std::string_view name) {
    const std::vector<CallId> named = nativesNamed(name);
    parsed_.filter.natives.insert(parsed_.filter.natives.end(), named.begin(), named.end());
    if (!named.empty()) return;
    std::string known;
    for (const CallDescription& call : calls) {
      const std::string_view method = call.name.substr(call.name.find('.') + 1);
      if (call.isNative) known += (known.empty() ? "" : ", ") + std::string(method);
    }
    failUsage("unknown native " + inQuotes(name) + ": expected one of " + known);
  }

  void checkWhole() const {
    const bool shows = !parsed_.read.empty() || parsed_.dump != 0;
    if (!parsed_.read.empty() && parsed_.dump != 0) failUsage("--read and --dump exclude each other");
    if (shows && !parsed_.command.empty()) {
      failUsage("unexpected word " + inQuotes(parsed_.command.front()) + ": --read and --dump run no program");
    }
    const std::string_view forRuns = !parsed_.keep.empty() ? "--keep" : isLimited_ ? "--limit" : "--no-follow";
    if (shows && (!parsed_.keep.empty() || isLimited_ || !parsed_.follows)) {
      failUsage(std::string(forRuns) + " needs a PROGRAM to run, so it excludes --read and --dump");
    }
    if (!shows && parsed_.command.empty()) failUsage("expected a PROGRAM");
    if (!shows && parsed_.command.front().empty()) failUsage("the PROGRAM is empty: expected a name or a path");
  }

  std::vector<std::string_view> words_;
  std::size_t at_ = 0;
  Options parsed_;
  bool isLimited_ = false;
};

}  // namespace

Options parseOptions(int argc, char** argv) { return CommandLine(argc, argv).parse(); }

}  // namespace orva::tracing

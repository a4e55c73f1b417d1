// Parses the options by hand, because LLVM's library would add all of its own.
#include "reference_host/program/options.h"

#include <llvm/ADT/StringRef.h>
#include <llvm/Support/FileSystem.h>
#include <llvm/Support/Path.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <system_error>

#include "reference_host/language/nearest_word.h"
#include "reference_host/language/option_table.h"
#include "reference_host/language/printable_text.h"
#include "reference_host/program/bug_report.h"

namespace {

using orva::language::inQuotes;
using orva::language::Option;
using orva::language::printable;

constexpr int usageError = 2;

constexpr std::array options = {
    Option{"--class-path", "DIR", "Look for classes below DIR too; may be given several times"},
    Option{"--stdlib", "DIR", "The standard library (default: ../share/orva/stdlib, seen from the executable)"},
    Option{"--trace", "FILE", "Run under orva-trace: show what loading does, on standard error or in FILE", true},
    Option{"--help", "", "Print this help"},
    Option{"--version", "", "Print the versions of orva-host and LLVM, and the target of compiled code"},
};

/// @param meant what was probably meant; may be empty
[[noreturn]] void failUsage(const std::string& problem, std::string_view meant = {}) {
  const std::string advice = meant.empty() ? "try 'orva-host --help'" : "did you mean '" + std::string(meant) + "'?";
  std::fprintf(stderr, "orva-host: %s; %s\n", problem.c_str(), advice.c_str());
  std::exit(usageError);
}

/// Prints what was asked for, and ends the process.
[[noreturn]] void answer(const std::string& text) {
  if (std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0) std::exit(0);
  std::fprintf(stderr, "Cannot print: %s\n", std::generic_category().message(errno).c_str());
  std::exit(1);
}

std::string help() {
  const std::string text =
      "Usage: orva-host run FILE [--class-path DIR]... [--stdlib DIR]\n"
      "                          [--trace[=FILE]] [-- ARG...]\n"
      "       orva-host --help | --version\n"
      "\n"
      "Runs programs of the orva language.\n"
      "\n"
      "Commands:\n"
      "  run FILE          Compile the program FILE and run the method 'main' of its class\n"
      "\n"
      "Options:\n";
  return text + orva::language::helpOf(options, 20) +
         "  -- ARG...         Pass everything that follows to 'main'\n"
         "\n"
         "Objects that a program loads are trusted code: their digests detect damage, not tampering.\n"
         "\n"
         "Exit status: 0 when the program ends, 1 after an uncaught exception or when it cannot\n"
         "be read or does not compile, 2 when the command line or the installation is wrong.\n";
}

/// Reads the words of the command line one by one.
class CommandLine {
 public:
  CommandLine(int argc, char** argv) : words_(argv + std::min(argc, 1), argv + argc) {}

  RunOptions parse() {
    while (at_ < words_.size() && words_[at_] != "--") {
      if (orva::language::isOption(words_[at_])) {
        keep(orva::language::takeOption(options, words_, at_, failUsage));
      } else {
        readWord(words_[at_++]);
      }
    }
    if (!hasCommand_) failUsage("expected the command 'run'");
    if (!hasProgram_) failUsage("expected a FILE to run");
    // What follows `--` is for the program.
    while (++at_ < words_.size()) parsed_.arguments.emplace_back(words_[at_]);
    return std::move(parsed_);
  }

 private:
  void readWord(std::string_view word) {
    if (!hasCommand_) {
      if (word != "run") failCommand(word);
      hasCommand_ = true;
    } else if (hasProgram_) {
      failUsage("unexpected word " + inQuotes(word) + ": expected one FILE, and the program's arguments after '--'");
    } else {
      if (word.empty()) failUsage("the FILE is empty: expected the path of a program");
      parsed_.program = word;
      hasProgram_ = true;
    }
  }

  [[noreturn]] static void failCommand(std::string_view word) {
    constexpr std::string_view extension = ".ov";
    const bool isProgram = word.size() > extension.size() && word.substr(word.size() - 3) == extension;
    if (isProgram) failUsage("unknown command " + inQuotes(word), "run " + printable(word));
    const bool isNear = orva::language::editDistance(word, "run") < 3;
    if (isNear && word.size() > 1) failUsage("unknown command " + inQuotes(word), "run");
    failUsage("unknown command " + inQuotes(word) + ": expected 'run'");
  }

  [[noreturn]] static void failTwice(const Option& option) {
    failUsage("option " + inQuotes(option.name) + " is given twice");
  }

  void keep(const orva::language::GivenOption& given) {
    const auto& [option, value] = given;
    if (option.name == "--help") answer(help());
    if (option.name == "--version") answer(orva::program::versionLine() + "\n");
    if (option.name == "--class-path") {
      parsed_.classPath.emplace_back(value);
    } else if (option.name == "--trace") {
      if (parsed_.trace.has_value()) failTwice(option);
      parsed_.trace = value;
    } else {
      if (!parsed_.standardLibrary.empty()) failTwice(option);
      parsed_.standardLibrary = value;
    }
  }

  std::vector<std::string_view> words_;
  std::size_t at_ = 0;
  bool hasCommand_ = false;
  bool hasProgram_ = false;
  RunOptions parsed_;
};

/// Built and installed trees have the same shape, so one rule finds the library in both.
std::string defaultStandardLibrary(const char* program) {
  static int here = 0;
  const std::string executable = llvm::sys::fs::getMainExecutable(program, &here);
  const llvm::StringRef prefix = llvm::sys::path::parent_path(llvm::sys::path::parent_path(executable));
  return (prefix + "/share/orva/stdlib").str();
}

/// Why a folder cannot be searched, if it cannot.
std::error_code problemOfFolder(const std::string& path) {
  llvm::sys::fs::file_status status;
  if (const std::error_code error = llvm::sys::fs::status(path, status)) return error;
  if (!llvm::sys::fs::is_directory(status)) return std::make_error_code(std::errc::not_a_directory);
  return access(path.c_str(), X_OK) == 0 ? std::error_code() : std::error_code(errno, std::generic_category());
}

void checkStandardLibrary(const std::string& root) {
  const std::error_code problem = problemOfFolder(root + "/orva");
  if (!problem) return;
  if (problem == std::errc::no_such_file_or_directory || problem == std::errc::not_a_directory) {
    failUsage("no standard library in " + inQuotes(root) + ": expected a folder 'orva' there");
  }
  failUsage("cannot search the standard library " + inQuotes(root + "/orva") + ": " + problem.message());
}

void checkRoot(const std::string& root) {
  const std::error_code problem = problemOfFolder(root);
  if (!problem) return;
  if (problem == std::errc::no_such_file_or_directory)
    failUsage("the class path root " + inQuotes(root) + " does not exist");
  if (problem == std::errc::not_a_directory) failUsage("the class path root " + inQuotes(root) + " is not a directory");
  failUsage("cannot search the class path root " + inQuotes(root) + ": " + problem.message());
}

}  // namespace

RunOptions parseOptions(int argc, char** argv) {
  RunOptions parsed = CommandLine(argc, argv).parse();
  if (parsed.standardLibrary.empty()) parsed.standardLibrary = defaultStandardLibrary(argv[0]);
  checkStandardLibrary(parsed.standardLibrary);
  for (const std::string& root : parsed.classPath) checkRoot(root);
  return parsed;
}

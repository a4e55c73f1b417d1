// Options by LLVM's command line library, which the host links anyway.
#include "reference_host/program/options.h"

#include <llvm/Config/llvm-config.h>
#include <llvm/Support/CommandLine.h>
#include <llvm/Support/FileSystem.h>
#include <llvm/Support/Path.h>
#include <llvm/Support/raw_ostream.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace cl = llvm::cl;

namespace {

constexpr int usageError = 2;

cl::OptionCategory hostOptions("Options");

cl::SubCommand runCommand("run", "Compile the program FILE and run the method 'main' of its class");

cl::opt<std::string> programFile(cl::Positional, cl::desc("FILE [-- ARG...]"), cl::sub(runCommand),
                                 cl::cat(hostOptions));

cl::list<std::string> classPathRoots("class-path", cl::value_desc("DIR"), cl::sub(runCommand), cl::cat(hostOptions),
                                     cl::desc("Look for classes below DIR too; may be given several times"));

cl::opt<std::string> standardLibraryRoot("stdlib", cl::value_desc("DIR"), cl::sub(runCommand), cl::cat(hostOptions),
                                         cl::desc("The standard library (default: ../share/orva/stdlib, seen from the "
                                                  "executable)"));

void printVersion(llvm::raw_ostream& out) { out << "orva-host " ORVA_VERSION " (LLVM " LLVM_VERSION_STRING ")\n"; }

/// Built and installed trees have the same shape, so one rule finds the library in both.
std::string defaultStandardLibrary(const char* program) {
  static int here = 0;
  const std::string executable = llvm::sys::fs::getMainExecutable(program, &here);
  const llvm::StringRef prefix = llvm::sys::path::parent_path(llvm::sys::path::parent_path(executable));
  return (prefix + "/share/orva/stdlib").str();
}

[[noreturn]] void failUsage(const std::string& problem) {
  llvm::errs() << "orva-host: " << problem << "; try 'orva-host --help'\n";
  std::exit(usageError);
}

void parse(const std::vector<const char*>& words) {
  cl::SetVersionPrinter(printVersion);
  cl::HideUnrelatedOptions(hostOptions, cl::SubCommand::getTopLevel());
  cl::HideUnrelatedOptions(hostOptions, runCommand);
  std::string problems;
  llvm::raw_string_ostream out(problems);
  const bool isGood = cl::ParseCommandLineOptions(
      static_cast<int>(words.size()), words.data(),
      "Runs programs of the orva language.\n\n"
      "  orva-host run FILE [--class-path DIR]... [--stdlib DIR] [-- ARG...]\n\n"
      "Exit status: 0 when the program ends, 1 after an uncaught exception or when it does\n"
      "not compile, 2 when the command line or the installation is wrong.\n",
      &out);
  if (isGood) return;
  llvm::errs() << problems;
  std::exit(usageError);
}

}  // namespace

RunOptions parseOptions(int argc, char** argv) {
  // What follows `--` is the program's own.
  char** end = argv + argc;
  char** separator = std::find_if(argv, end, [](const char* word) { return std::string_view(word) == "--"; });
  parse({argv, separator});
  if (!runCommand) failUsage("expected the command 'run'");
  if (programFile.empty()) failUsage("expected the FILE of a program");

  RunOptions options;
  options.program = programFile;
  options.classPath = {classPathRoots.begin(), classPathRoots.end()};
  options.standardLibrary = standardLibraryRoot.empty() ? defaultStandardLibrary(argv[0]) : standardLibraryRoot;
  if (separator != end) options.arguments = {separator + 1, end};
  if (!llvm::sys::fs::is_directory(options.standardLibrary + "/orva")) {
    failUsage("no standard library in '" + options.standardLibrary + "': expected a folder 'orva' there");
  }
  for (const std::string& root : options.classPath) {
    if (!llvm::sys::fs::is_directory(root)) failUsage("the class path root '" + root + "' is not a directory");
  }
  return options;
}

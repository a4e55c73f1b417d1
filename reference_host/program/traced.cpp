// Turns `--trace` into a command line of `orva-trace`.
#include "reference_host/program/traced.h"

#include <llvm/Support/FileSystem.h>
#include <llvm/Support/Path.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>
#include <vector>

#include "reference_host/language/printable_text.h"

namespace orva::program {

static std::vector<std::string> tracedCommand(const RunOptions& options, const std::string& executable) {
  std::vector<std::string> words = {"orva-trace"};
  if (!options.trace->empty()) words.push_back("--output=" + *options.trace);
  words.insert(words.end(), {"--", executable, "run", options.program, "--stdlib=" + options.standardLibrary});
  for (const std::string& root : options.classPath) words.push_back("--class-path=" + root);
  words.emplace_back("--");
  words.insert(words.end(), options.arguments.begin(), options.arguments.end());
  return words;
}

void runTraced(const RunOptions& options, const char* program) {
  if (llvm::sys::fs::equivalent(*options.trace, options.program)) {
    std::fprintf(stderr, "orva-host: --trace would overwrite the program %s: expected another file\n",
                 language::inQuotes(options.program).c_str());
    std::exit(2);
  }
  static int here = 0;
  const std::string executable = llvm::sys::fs::getMainExecutable(program, &here);
  std::vector<std::string> words = tracedCommand(options, executable);
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);

  execv((llvm::sys::path::parent_path(executable) + "/orva-trace").str().c_str(), arguments.data());
  if (errno == ENOENT) execvp("orva-trace", arguments.data());
  if (errno == ENOENT) {
    std::fputs("orva-host: --trace needs the program 'orva-trace', which is neither beside orva-host nor in PATH\n",
               stderr);
  } else {
    std::fprintf(stderr, "orva-host: cannot run 'orva-trace': %s\n", std::generic_category().message(errno).c_str());
  }
  std::exit(2);
}

}  // namespace orva::program

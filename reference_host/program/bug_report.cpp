// LLVM keeps a list of what each thread is doing, to print it if the process crashes; the report prints that list.
#include "reference_host/program/bug_report.h"

#include <llvm/Config/llvm-config.h>
#include <llvm/Support/ErrorHandling.h>
#include <llvm/Support/PrettyStackTrace.h>
#include <llvm/Support/raw_ostream.h>
#include <llvm/TargetParser/Host.h>
#include <unistd.h>

#include <cstdio>

#include "reference_host/compiler/files.h"
#include "reference_host/compiler/private_folder.h"
#include "reference_host/language/printable_text.h"

namespace orva::program {

using language::printable;

std::string versionLine() {
  return "orva-host " ORVA_VERSION " (LLVM " LLVM_VERSION_STRING ", " + llvm::sys::getProcessTriple() + ")";
}

/// The command, as a shell would read it.
static std::string& command() {
  static auto& words = *new std::string();
  return words;
}

static std::string shellWord(const std::string& word) {
  static constexpr const char* plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./=+,:@%";
  if (!word.empty() && word.find_first_not_of(plain) == std::string::npos) return word;
  std::string quoted = "'";
  for (const char byte : word) quoted += byte == '\'' ? std::string("'\\''") : std::string(1, byte);
  return quoted + "'";
}

void reportEngineFailure(const char* reason) {
  std::string text;
  llvm::raw_string_ostream out(text);
  out << "orva-host: the engine failed: " << printable(reason) << "\n"
      << "This is a bug in orva-host. Please report it with the program's sources and these lines:\n";
  const auto* entry = static_cast<const llvm::PrettyStackTraceEntry*>(llvm::SavePrettyStackState());
  for (; entry != nullptr; entry = entry->getNextEntry()) {
    std::string line;
    llvm::raw_string_ostream printed(line);
    entry->print(printed);
    out << "  while: " << printable(llvm::StringRef(line).rtrim(llvm::StringRef("\n\0", 2))) << "\n";
  }
  out << "  version: " << versionLine() << "\n  command: " << printable(command()) << "\n";
  std::fputs(text.c_str(), stderr);
}

static void onFatalError(void* /*data*/, const char* reason, bool /*generateCrashDump*/) {
  std::fflush(stdout);
  reportEngineFailure(reason);
  compiler::removeUnfinishedFiles();
  compiler::removePrivateFolder();
  // Skips the handlers of `exit`, because other threads may be running and LLVM's state is broken.
  _exit(1);
}

void reportFatalErrors(int argc, char** argv) {
  for (int i = 0; i < argc; ++i) command() += (i == 0 ? "" : " ") + shellWord(argv[i]);
  llvm::install_fatal_error_handler(onFatalError);
}

}  // namespace orva::program

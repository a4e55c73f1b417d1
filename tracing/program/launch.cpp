// The environment that the dynamic linker and the recorder read, and the signals around a child.
#include "tracing/program/launch.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <system_error>

#include "reference_host/language/printable_text.h"
#include "tracing/events/event_file.h"
#include "tracing/program/failure.h"

namespace orva::tracing {

namespace fs = std::filesystem;
using language::inQuotes;

/// The signals that end a process, and that people and supervisors send.
static std::vector<int> endingSignals() {
  std::vector<int> signals = {SIGTERM, SIGHUP, SIGUSR1, SIGUSR2, SIGALRM,  SIGVTALRM,
                              SIGPROF, SIGIO,  SIGPWR,  SIGXCPU, SIGSTKFLT};
  for (int signal = SIGRTMIN; signal <= SIGRTMAX; ++signal) signals.push_back(signal);
  return signals;
}

Signals::Signals() {
  for (std::size_t i = 0; i < changed.size(); ++i) {
    struct sigaction action{};
    action.sa_handler = changed[i] == SIGCHLD ? SIG_DFL : SIG_IGN;
    sigaction(changed[i], &action, &before_[i]);
  }
  sigemptyset(&awaited_);
  sigaddset(&awaited_, SIGCHLD);
  for (const int signal : endingSignals()) {
    struct sigaction action{};
    sigaction(signal, nullptr, &action);
    // Ignored signals stay ignored, such as SIGHUP under nohup.
    if (action.sa_handler != SIG_IGN) sigaddset(&awaited_, signal);
  }
  sigprocmask(SIG_BLOCK, &awaited_, &maskBefore_);
}

void Signals::restore() const {
  for (std::size_t i = 0; i < changed.size(); ++i) sigaction(changed[i], &before_[i], nullptr);
  sigprocmask(SIG_SETMASK, &maskBefore_, nullptr);
}

void Signals::letEnd() const {
  for (const int signal : endingSignals()) {
    // Ignoring a signal discards one that is pending. Whoever ends a group of processes may send it twice.
    struct sigaction ignored{};
    struct sigaction before{};
    ignored.sa_handler = SIG_IGN;
    sigaction(signal, &ignored, &before);
    sigaction(signal, &before, nullptr);
  }
  restore();
  for (const int signal : {SIGPIPE, SIGXFSZ}) std::signal(signal, SIG_IGN);
}

int Signals::await() const {
  int signal = 0;
  sigwait(&awaited_, &signal);
  return signal;
}

namespace {

/// Built and installed trees have the same shape, so one rule finds the libraries in both.
fs::path libraryFolder() {
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  if (error) throw Failure(ownFailure, "cannot find the libraries of orva-trace without /proc: " + error.message());
  return program.parent_path().parent_path() / ORVA_TRACE_LIBDIR / "orva-trace";
}

/// The dynamic linker splits lists at blanks and colons, and replaces what begins with a dollar sign.
bool canBeListed(const std::string& path) { return path.find_first_of(" \t\n:;$") == path.npos; }

/// The path of a library as a list can hold it: a link in the folder of traces where its own cannot be listed.
std::string listedLibrary(const std::string& name, const std::string& folder) {
  std::string path = (libraryFolder() / name).string();
  if (access(path.c_str(), R_OK) != 0) {
    throw Failure(ownFailure, "cannot read " + inQuotes(path) +
                                  ", which is a part of orva-trace: " + std::generic_category().message(errno));
  }
  if (canBeListed(path)) return path;
  const std::string link = folder + "/" + name;
  if (!canBeListed(link)) {
    throw Failure(ownFailure, "cannot load " + inQuotes(path) + ", which has a blank, a colon or a '$' in its path: " +
                                  "name a folder without these with --keep or TMPDIR");
  }
  fs::create_symlink(path, link);
  return link;
}

/// Appends a library to a list. Drops one of the same name, which an orva-trace that runs this one has put there: it
/// would record each call once more.
void appendToVariable(const char* variable, const std::string& library) {
  const std::string name = library.substr(library.rfind('/'));
  const char* const before = std::getenv(variable);
  std::string list;
  std::istringstream rest(before != nullptr ? before : "");
  for (std::string each; std::getline(rest, each, ':');) {
    const bool isOurs = each.size() >= name.size() && each.substr(each.size() - name.size()) == name;
    if (!isOurs && !each.empty()) list += each + ":";
  }
  setenv(variable, (list + library).c_str(), 1);
}

void setEnvironment(const Launch& launch) {
  appendToVariable("LD_AUDIT", listedLibrary("liborva-trace-audit.so", launch.folder));
  appendToVariable("LD_PRELOAD", listedLibrary("liborva-trace-recorder.so", launch.folder));
  setenv(folderVariable, launch.folder.c_str(), 1);
  setenv(limitVariable, std::to_string(launch.limit).c_str(), 1);
  unsetenv(processVariable);
}

/// In the child. Returns only when the program cannot be run: the error number.
int execute(const Launch& launch) {
  if (!launch.follows) setenv(processVariable, std::to_string(getpid()).c_str(), 1);
  std::vector<char*> words;
  words.reserve(launch.command.size() + 1);
  for (const std::string& word : launch.command) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  // For a script without a first line that names the interpreter, this runs the shell.
  execvp(launch.program.c_str(), words.data());
  return errno;
}

[[noreturn]] void failStart(const Launch& launch, int error) {
  throw Failure(error == ENOENT ? notFound : cannotRun,
                "cannot run " + inQuotes(launch.program) + ": " + std::generic_category().message(error));
}

/// Starts the program. A pipe passes on why it cannot run; the pipe closes when the program runs.
pid_t start(const Launch& launch, const Signals& signals) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw Failure(ownFailure, "cannot make a pipe to start " + inQuotes(launch.program) +
                                  " with: " + std::generic_category().message(errno));
  }
  const pid_t child = fork();
  if (child < 0) {
    throw Failure(ownFailure, "cannot make a process for " + inQuotes(launch.program) + ": " +
                                  std::generic_category().message(errno));
  }
  if (child == 0) {
    signals.restore();
    const int error = execute(launch);
    _exit(write(ends[1], &error, sizeof error) == sizeof error ? cannotRun : ownFailure);
  }
  int error = 0;
  close(ends[1]);
  if (read(ends[0], &error, sizeof error) > 0) waitpid(child, nullptr, 0);
  close(ends[0]);
  if (error != 0) failStart(launch, error);
  return child;
}

}  // namespace

Ended runTraced(const Launch& launch, const Signals& signals) {
  setEnvironment(launch);
  const pid_t child = start(launch, signals);
  Ended ended;
  while (waitpid(child, &ended.waitStatus, WNOHANG) != child) {
    const int signal = signals.await();
    if (signal == SIGCHLD) continue;
    ended.interrupted = signal;
    break;
  }
  return ended;
}

void endAs(const Ended& ended) {
  if (ended.interrupted == 0 && WIFEXITED(ended.waitStatus)) _exit(WEXITSTATUS(ended.waitStatus));
  const int signal = ended.interrupted != 0 ? ended.interrupted : WTERMSIG(ended.waitStatus);
  // The program has left its own core dump, where one was wanted.
  const rlimit none{};
  setrlimit(RLIMIT_CORE, &none);
  struct sigaction usual{};
  usual.sa_handler = SIG_DFL;
  sigaction(signal, &usual, nullptr);
  sigset_t all;
  sigfillset(&all);
  sigprocmask(SIG_UNBLOCK, &all, nullptr);
  raise(signal);
  // Reached in the first process of a container, for which signals have no default action.
  _exit(128 + signal);
}

}  // namespace orva::tracing

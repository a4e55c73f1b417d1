// Runs each check in a child process, so that a host that crashes, hangs or ends the process ends only that check.
#include "host_contract/examine.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <new>
#include <system_error>
#include <thread>

#include "host_contract/calls.h"
#include "host_contract/host.h"

namespace fs = std::filesystem;

namespace orva::host_contract {

/// Why a check cannot be run on this host; empty when it can.
static std::string reasonNotToRun(Needs needs, Hooks& hooks) {
  if (needs == Needs::nothing) return {};
  if (hooks.classSource("some", "Class").empty()) return "this host compiles nothing: its hooks write no source";
  if (needs == Needs::generics && hooks.genericSource("some", "Class").empty()) {
    return "this host has no generic classes: its hooks write no source of one";
  }
  if (needs == Needs::objects && hooks.objectFile("some/Class.ov").empty()) {
    return "this host has no object files: its hooks name none";
  }
  return {};
}

/// Makes a new folder in the one for temporary files.
static fs::path newFolder() {
  std::error_code error;
  std::string folder = (fs::temp_directory_path(error) / "host-contract-XXXXXX").string();
  if (error || mkdtemp(folder.data()) == nullptr) {
    const char* const named = std::getenv("TMPDIR");
    if (!error) error.assign(errno, std::generic_category());
    throw std::system_error(error,
                            std::string("Cannot make a folder for a check in TMPDIR, '") + (named ? named : "") + "'");
  }
  return folder;
}

/// Thrown when the host does not start, for which no check is to blame.
struct Unstarted {
  std::string seen;
};

/// Starts the host, or throws `Unstarted`.
static void start(Hooks& hooks, const fs::path& folder) {
  try {
    hooks.start(folder);
  } catch (const std::exception& failure) {
    throw Unstarted{std::string("it threw a std::exception: ") + failure.what()};
  } catch (...) {
    throw Unstarted{"it threw something not derived from std::exception"};
  }
}

/// What the process that waits for a check can read of it even when it crashes or hangs.
struct Progress {
  Calls calls;
  std::atomic<bool> isStarted;
};

static Outcome examineIn(const fs::path& folder, const Check& check, Hooks& hooksOfHost, int seconds,
                         Progress& progress) {
  noteCallsIn(progress.calls);
  NotedHooks hooks(hooksOfHost);
  try {
    fs::create_directories(folder / "host");
    fs::create_directories(folder / "check");
    start(hooks, folder / "host");
    progress.isStarted = true;
    const std::string reason = reasonNotToRun(check.needs, hooks);
    if (!reason.empty()) return {Outcome::notRun, reason};
    Trial trial{hooks, folder / "check", seconds};
    check.run(trial);
    return {Outcome::held, {}};
  } catch (const NotRun& notRun) {
    return {Outcome::notRun, notRun.reason};
  } catch (const Broken& broken) {
    return {Outcome::broken, broken.seen};
  } catch (const Unusable& unusable) {
    return {Outcome::unusable, unusable.seen};
  } catch (const Unstarted& unstarted) {
    return {Outcome::unstarted, unstarted.seen};
  } catch (const std::exception& failure) {
    return {Outcome::broken, std::string("the host threw a std::exception: ") + failure.what()};
  } catch (...) {
    return {Outcome::broken, "the host threw something not derived from std::exception"};
  }
}

/// Removes a folder, with whatever the host left in it.
static void removeFolder(const fs::path& folder) {
  std::error_code ignored;
  fs::remove_all(folder, ignored);
}

Outcome examineHere(const Check& check, Hooks& hooks, int seconds) {
  static Progress progress;
  const fs::path folder = newFolder();
  Outcome outcome = examineIn(folder, check, hooks, seconds, progress);
  removeFolder(folder);
  return outcome;
}

// An outcome is sent as one digit, its text and a zero byte. It cannot end with the pipe, which processes that the host
// has started may keep open.

static void send(int pipe, const Outcome& outcome) {
  const std::string text = std::to_string(outcome.kind) + outcome.seen;
  for (std::size_t sent = 0; sent <= text.size();) {
    const ssize_t count = write(pipe, text.c_str() + sent, text.size() + 1 - sent);
    if (count > 0) sent += static_cast<std::size_t>(count);
    if (count < 0 && errno != EINTR) return;
  }
}

using Clock = std::chrono::steady_clock;

/// Reads up to the zero byte, the end of the pipe, or the deadline.
/// @return whether the zero byte arrived.
static bool receive(int pipe, Clock::time_point end, std::string& text) {
  for (;;) {
    const auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    pollfd ready{pipe, POLLIN, 0};
    if (rest <= 0 || poll(&ready, 1, static_cast<int>(rest)) == 0) return false;
    if ((ready.revents & (POLLIN | POLLHUP)) == 0) continue;
    char part[4096];
    const ssize_t count = read(pipe, part, sizeof part);
    if (count == 0) return false;
    if (count > 0) text.append(part, static_cast<std::size_t>(count));
    if (const std::size_t zero = text.find('\0'); zero != std::string::npos) {
      text.resize(zero);
      return true;
    }
  }
}

/// Describes a check that is not done in time.
static Outcome late(int seconds, const Progress& progress) {
  std::string text = "not done after " + std::to_string(seconds) + " s";
  const std::string calls = unfinishedCalls(progress.calls);
  const bool isOne = calls.find(" and ") == std::string::npos;
  if (!calls.empty()) text += "; " + calls + (isOne ? " has" : " have") + " not returned";
  return {progress.isStarted ? Outcome::hung : Outcome::unstarted, text};
}

/// Runs on a thread of the child: once the time is up, sends what the check probably waits for.
static void watch(int pipe, int seconds, const Progress& progress) {
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  Outcome outcome = late(seconds, progress);
  if (!gReflectionMutex.try_lock()) outcome.seen += "; gReflectionMutex is held";
  send(pipe, outcome);
  std::this_thread::sleep_for(std::chrono::hours(1));
}

/// What the child does.
[[noreturn]] static void examineInChild(const fs::path& folder, const Check& check, Hooks& hooks, int pipe, int seconds,
                                        Progress& progress) {
  // On other systems, a child whose parent was killed ends when it writes to the pipe, which nobody reads any more.
#ifdef __linux__
  prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
  std::thread(watch, pipe, seconds, std::cref(progress)).detach();
  send(pipe, examineIn(folder, check, hooks, seconds, progress));
  std::fflush(nullptr);
  // Not std::exit: what it would destroy is a copy of the parent's, which the parent cleans up.
  _exit(0);
}

/// Waits for a process until a deadline.
/// @return whether it has ended.
static bool ends(pid_t process, Clock::time_point end, int& status) {
  while (waitpid(process, &status, WNOHANG) != process) {
    if (Clock::now() >= end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

/// Kills a process, and those that it has started.
static void endAll(pid_t process) {
  kill(-process, SIGKILL);
  while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
  }
}

/// Describes a process that ended without sending an outcome.
static Outcome withoutOutcome(int status, const Progress& progress) {
  std::string text =
      "the host ended the process with status " + std::to_string(WEXITSTATUS(status)) + ", or closed the kit's pipe";
  if (WIFSIGNALED(status)) {
    const int signal = WTERMSIG(status);
    text = "the host was ended by signal " + std::to_string(signal) + " (" + strsignal(signal) + ")";
  }
  const std::string calls = unfinishedCalls(progress.calls);
  if (!calls.empty()) text += " in " + calls;
  return {progress.isStarted ? Outcome::broken : Outcome::unstarted, text};
}

/// What the parent does: waits for the outcome of a process.
static Outcome outcomeOf(pid_t process, int pipe, int seconds, const Progress& progress) {
  // The child itself reports that it is late; one that cannot is killed.
  const auto end = Clock::now() + std::chrono::seconds(seconds + 2);
  std::string text;
  if (receive(pipe, end, text)) {
    endAll(process);
    return {static_cast<Outcome::Kind>(text[0] - '0'), text.substr(1)};
  }
  int status = 0;
  if (ends(process, end, status)) {
    kill(-process, SIGKILL);
    return withoutOutcome(status, progress);
  }
  endAll(process);
  return late(seconds, progress);
}

/// Opens a pipe that programs started by the host do not inherit. Does not use pipe2, which macOS lacks.
static void openPipe(int (&ends)[2]) {
  if (pipe(ends) != 0) throw std::system_error(errno, std::generic_category(), "Cannot make a pipe for a check");
  for (const int end : ends) fcntl(end, F_SETFD, FD_CLOEXEC);
}

namespace {

/// Progress that a process and its children share.
class SharedProgress {
 public:
  SharedProgress()
      : memory_(mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
    if (memory_ == MAP_FAILED) throw std::system_error(errno, std::generic_category(), "Cannot map memory for a check");
    progress_ = new (memory_) Progress{};
  }
  ~SharedProgress() { munmap(memory_, sizeof(Progress)); }
  SharedProgress(const SharedProgress&) = delete;
  SharedProgress& operator=(const SharedProgress&) = delete;

  Progress& operator*() const { return *progress_; }

 private:
  void* const memory_;
  Progress* progress_;
};

}  // namespace

Outcome examine(const Check& check, Hooks& hooks, int seconds) {
  const SharedProgress progress;
  int ends[2];
  openPipe(ends);
  const fs::path folder = newFolder();
  std::fflush(nullptr);
  const pid_t process = fork();
  if (process < 0) throw std::system_error(errno, std::generic_category(), "Cannot start a process for a check");
  // Both the parent and the child do this, because either may run first.
  setpgid(process, process);
  if (process == 0) examineInChild(folder, check, hooks, ends[1], seconds, *progress);
  close(ends[1]);
  Outcome outcome = outcomeOf(process, ends[0], seconds, *progress);
  close(ends[0]);
  removeFolder(folder);
  return outcome;
}

}  // namespace orva::host_contract

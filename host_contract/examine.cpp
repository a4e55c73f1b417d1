// A child process for each check: a host that crashes, hangs or ends the process ends that check alone.
#include "host_contract/examine.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <system_error>

namespace fs = std::filesystem;

namespace orva::host_contract {

/// Why a host cannot be asked this; empty when it can.
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

/// A new folder below the one for temporary files.
static fs::path newFolder() {
  std::string folder = (fs::temp_directory_path() / "host-contract-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) throw std::system_error(errno, std::generic_category(), folder);
  return folder;
}

static Outcome examineIn(const fs::path& folder, const Check& check, Hooks& hooks) {
  try {
    fs::create_directories(folder / "host");
    fs::create_directories(folder / "check");
    hooks.start(folder / "host");
    const std::string reason = reasonNotToRun(check.needs, hooks);
    if (!reason.empty()) return {Outcome::notRun, reason};
    Trial trial{hooks, folder / "check"};
    check.run(trial);
    return {Outcome::held, {}};
  } catch (const Broken& broken) {
    return {Outcome::broken, broken.seen};
  } catch (const std::exception& failure) {
    return {Outcome::broken, std::string("a std::exception came out of the host: ") + failure.what()};
  } catch (...) {
    return {Outcome::broken, "an object that is no std::exception came out of the host"};
  }
}

/// The folder is removed with what the host left in it.
static void removeFolder(const fs::path& folder) {
  std::error_code ignored;
  fs::remove_all(folder, ignored);
}

Outcome examineHere(const Check& check, Hooks& hooks) {
  const fs::path folder = newFolder();
  Outcome outcome = examineIn(folder, check, hooks);
  removeFolder(folder);
  return outcome;
}

/// Writes an outcome as one digit and its text.
static void send(int pipe, const Outcome& outcome) {
  const std::string text = std::to_string(outcome.kind) + outcome.seen;
  for (std::size_t sent = 0; sent < text.size();) {
    const ssize_t count = write(pipe, &text[sent], text.size() - sent);
    if (count > 0) sent += static_cast<std::size_t>(count);
    if (count < 0 && errno != EINTR) return;
  }
}

/// Reads until the pipe is closed.
/// @return whether it was closed in time.
static bool receive(int pipe, int seconds, std::string& text) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::seconds(seconds);
  for (;;) {
    const auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    pollfd ready{pipe, POLLIN, 0};
    if (rest <= 0 || poll(&ready, 1, static_cast<int>(rest)) == 0) return false;
    char part[4096];
    const ssize_t count = read(pipe, part, sizeof part);
    if (count == 0) return true;
    if (count > 0) text.append(part, static_cast<std::size_t>(count));
  }
}

/// Waits for a process that is about to end.
static int statusOf(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

/// What a process left that told no outcome.
static Outcome withoutOutcome(int status) {
  if (WIFSIGNALED(status)) {
    const int signal = WTERMSIG(status);
    return {Outcome::broken, "the host was ended by signal " + std::to_string(signal) + " (" + strsignal(signal) + ")"};
  }
  return {Outcome::broken, "the host ended the process with status " + std::to_string(WEXITSTATUS(status))};
}

Outcome examine(const Check& check, Hooks& hooks, int seconds) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "No pipe for a check");
  const fs::path folder = newFolder();
  const pid_t process = fork();
  if (process < 0) throw std::system_error(errno, std::generic_category(), "No process for a check");
  if (process == 0) {
    send(ends[1], examineIn(folder, check, hooks));
    // Neither the destructors nor the buffers that were copied from the parent are this process's to run.
    _exit(0);
  }
  close(ends[1]);
  std::string text;
  const bool inTime = receive(ends[0], seconds, text);
  if (!inTime) kill(process, SIGKILL);
  const int status = statusOf(process);
  close(ends[0]);
  removeFolder(folder);
  if (!inTime) return {Outcome::broken, "not done after " + std::to_string(seconds) + " s"};
  if (text.empty()) return withoutOutcome(status);
  return {static_cast<Outcome::Kind>(text[0] - '0'), text.substr(1)};
}

}  // namespace orva::host_contract

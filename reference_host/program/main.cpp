// `orva-host`: runs a program of the language.
#include <cxxabi.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <new>
#include <optional>

#include "reference_host/compiler/context.h"
#include "reference_host/compiler/exhaustion.h"
#include "reference_host/program/bug_report.h"
#include "reference_host/program/options.h"
#include "reference_host/program/report.h"
#include "reference_host/program/run.h"
#include "reference_host/program/signals.h"
#include "reference_host/program/traced.h"
#include "reference_host/runtime/call_stack.h"
#include "reference_host/runtime/values.h"

/// Opens the standard streams that the process was started without, so that no file of the host takes their place. Each
/// is opened in the wrong direction, so that using it still fails.
static void reserveStandardStreams() {
  for (int stream = 0; stream <= 2; ++stream) {
    if (fcntl(stream, F_GETFD) == -1) open("/dev/null", stream == 0 ? O_WRONLY : O_RDONLY);
  }
}

/// Reopens a pipe that another program made non-blocking: output that does not fit at once would be lost.
static void awaitRoomIn(int stream) {
  struct stat status{};
  const bool isWaiting = (fcntl(stream, F_GETFL) & O_NONBLOCK) == 0;
  if (isWaiting || fstat(stream, &status) != 0 || !S_ISFIFO(status.st_mode)) return;
  // Without a reader, a blocking call would wait for one.
  const char* const name = stream == STDOUT_FILENO ? "/dev/fd/1" : "/dev/fd/2";
  const int own = open(name, O_WRONLY | O_NONBLOCK | O_CLOEXEC);
  if (own < 0) return;
  fcntl(own, F_SETFL, 0);
  dup2(own, stream);
  close(own);
}

/// Writes to standard error, and waits for room even if the descriptor is non-blocking.
/// @return how much was written; less than the size after an error.
static ssize_t writeWaiting(void* /*cookie*/, const char* text, std::size_t size) {
  std::size_t done = 0;
  while (done < size) {
    const ssize_t written = write(STDERR_FILENO, text + done, size - done);
    if (written > 0) {
      done += static_cast<std::size_t>(written);
    } else if (written < 0 && errno == EAGAIN) {
      pollfd output{STDERR_FILENO, POLLOUT, 0};
      poll(&output, 1, -1);
    } else if (written == 0 || errno != EINTR) {
      break;
    }
  }
  return static_cast<ssize_t>(done);
}

/// Replaces `stderr` if the descriptor is still non-blocking, because the C library drops what does not fit. A socket
/// cannot be reopened, nor can every terminal, and other programs may rely on the mode that they share.
static void awaitRoomForMessages() {
  const int mode = fcntl(STDERR_FILENO, F_GETFL);
  if (mode < 0 || (mode & O_NONBLOCK) == 0) return;
  std::FILE* const waiting = fopencookie(nullptr, "w", {nullptr, writeWaiting, nullptr, nullptr});
  if (waiting == nullptr) return;
  std::setvbuf(waiting, nullptr, _IONBF, 0);
  stderr = waiting;
}

/// Tells whether the stack has room to start the host; if not, prints an error.
static bool hasStack() {
  constexpr std::size_t least = std::size_t{24} * 1024;
  if (orva::runtime::remainingStack() >= least) return true;
  // Formatting would need 8 KiB of the stack.
  std::fputs("orva-host: the stack is too small: less than 24 KiB of it is left (ulimit -s)\n", stderr);
  return false;
}

/// Runs the program and returns its exit status. The sanitizer would report the reference to a forced unwinding, which
/// has no object.
__attribute__((no_sanitize("null"))) static int run(int argc, char** argv) {
  try {
    std::optional<orva::compiler::Work> starting(std::in_place, "starting the host");
    const RunOptions options = parseOptions(argc, argv);
    if (options.trace.has_value()) orva::program::runTraced(options, argv[0]);
    orva::compiler::startHost(options.standardLibrary);
    const auto program = orva::program::readProgram(options.program);
    auto& runtime = orva::compiler::Runtime::getInstance();
    runtime.addKlassPath(orva::program::rootOf(program));
    // All are directories; one that is refused is a root already.
    for (const std::string& root : options.classPath) runtime.addKlassPath(root);
    starting.reset();
    orva::program::runProgram(program, options.arguments);
    return 0;
  } catch (const orva::runtime::Thrown& thrown) {
    std::fflush(stdout);
    reportUncaught(*thrown.exception);
  } catch (const std::bad_alloc&) {
    std::fflush(stdout);
    reportFailure("Out of memory");
  } catch (const std::exception& failure) {
    std::fflush(stdout);
    const char* const text = failure.what();
    const bool isEmpty = text == nullptr || *text == '\0';
    reportFailure(isEmpty ? "A native threw a std::exception without a message" : text);
  } catch (const abi::__forced_unwind&) {
    // A native ended this thread; the process continues until its last thread ends.
    throw;
  } catch (...) {
    std::fflush(stdout);
    reportFailure("A native threw an object not derived from std::exception");
  }
  return 1;
}

int main(int argc, char** argv) {
  reserveStandardStreams();
  awaitRoomIn(STDOUT_FILENO);
  awaitRoomIn(STDERR_FILENO);
  awaitRoomForMessages();
  if (!hasStack()) return 1;
  orva::program::cleanUpOnSignals();
  orva::program::reportFatalErrors(argc, argv);
  orva::compiler::watchMemory();
  return run(argc, argv);
}

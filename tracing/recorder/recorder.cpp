// What the thunks call: finds the thread's trace, starts recording, and reads the types of exceptions.
#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>

#include "tracing/events/clock.h"
#include "tracing/recorder/event_writer.h"
#include "tracing/recorder/linked.h"
#include "tracing/recorder/symbols.h"
#include "tracing/recorder/thread_trace.h"

orva::tracing::Exports orva_trace_exports;

namespace orva::tracing {

namespace {

struct ThisThread {
  ThreadTrace* trace;
  bool isRecording;  ///< a signal came while the recorder was at work
};

// Reached without a call: the dynamic linker's function for other variables allocates.
__attribute__((tls_model("initial-exec"))) thread_local ThisThread thisThread;

std::atomic<bool> isStarted;
pthread_once_t start = PTHREAD_ONCE_INIT;
pthread_key_t threadEnd;

class ErrnoKept {
 public:
  ErrnoKept() = default;
  ErrnoKept(const ErrnoKept&) = delete;
  ErrnoKept& operator=(const ErrnoKept&) = delete;
  ~ErrnoKept() { errno = error_; }

 private:
  const int error_ = errno;
};

void finishThread(void* trace) {
  const ErrnoKept kept;
  thisThread.trace = nullptr;
  static_cast<ThreadTrace*>(trace)->finish();
  munmap(trace, sizeof(ThreadTrace));
}

/// A child that is forked by a signal handler in the middle of recording does not know what its parent has finished.
void continueInChild() {
  if (mayRecord() && !thisThread.isRecording) {
    if (thisThread.trace != nullptr) thisThread.trace->continueInChild();
    return;
  }
  orva_trace_exports.header = nullptr;
  // The calls that the thread is in are its parent's.
  thisThread.trace = nullptr;
  pthread_setspecific(threadEnd, nullptr);
}

/// Puts the arguments that a process was started with, which its system keeps one after another.
void putProgramArguments(Payload& payload) {
  static char text[1U << 15];
  const auto file = static_cast<int>(syscall(SYS_openat, AT_FDCWD, "/proc/self/cmdline", O_RDONLY | O_CLOEXEC));
  if (file < 0) return;
  const long length = syscall(SYS_read, file, text, sizeof text - 1);
  syscall(SYS_close, file);
  for (long place = 0; place < length; place += static_cast<long>(std::strlen(text + place)) + 1) {
    payload.putText(text + place);
  }
}

void describeProgram() {
  static Payload payload;
  static char path[PATH_MAX];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  payload.putText(path, length < 0 ? 0 : static_cast<std::uint64_t>(length));
  payload.putText(getcwd(path, sizeof path) == nullptr ? "" : path);
  putProgramArguments(payload);
  writeRecord({RecordKind::program, 0, 0, 0, monotonicTime()}, payload.data(), payload.size());
}

/// For a recorder that is linked into the program: the linker fills in what the audit module fills in otherwise.
void takeLinkedCalls() {
  if (orva_trace_linked == nullptr) return;
  for (const LinkedCall* call = orva_trace_linked; call->symbol != nullptr; ++call) {
    orva_trace_exports.originals[call->slot] = call->original;
    noteLayout(call->symbol, orva_trace_exports);
  }
  orva_trace_exports.attached = Attached::linked;
}

void startRecording() {
  const ErrnoKept kept;
  takeLinkedCalls();
  FileHeader* const header = createEventFile();
  if (header != nullptr && pthread_key_create(&threadEnd, finishThread) == 0) {
    pthread_atfork(nullptr, nullptr, continueInChild);
    describeProgram();
    // The audit module writes both again, should it find more.
    orva_trace_exports.header = header;
    header->attached = static_cast<std::uint32_t>(orva_trace_exports.attached.load());
    header->unseen = orva_trace_exports.unseen.load();
  }
  isStarted.store(true, std::memory_order_release);
}

// A program that calls no native gets a file too, so that this can be reported.
__attribute__((constructor)) void startBeforeMain() { pthread_once(&start, startRecording); }

__attribute__((noinline)) ThreadTrace* newThreadTrace() {
  const ErrnoKept kept;
  void* const place =
      mmap(nullptr, sizeof(ThreadTrace), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (place == MAP_FAILED) return nullptr;
  pthread_setspecific(threadEnd, place);
  thisThread.trace = static_cast<ThreadTrace*>(place);
  return thisThread.trace;
}

/// The trace of the calling thread; null when nothing is recorded.
inline ThreadTrace* currentTrace() {
  if (!isStarted.load(std::memory_order_acquire)) startBeforeMain();
  const FileHeader* const header = orva_trace_exports.header.load(std::memory_order_relaxed);
  if (header == nullptr || isStopped(*header) || thisThread.isRecording) return nullptr;
  return thisThread.trace != nullptr ? thisThread.trace : newThreadTrace();
}

/// Counts a native that is not recorded: a signal handler called it while the recorder was at work in the same thread,
/// or there was no memory for the thread's trace.
__attribute__((noinline)) void countMissed(std::uint64_t slot) {
  FileHeader* const header = orva_trace_exports.header.load(std::memory_order_relaxed);
  if (header == nullptr || isStopped(*header) || slot >= ORVA_TRACE_CALLS || !calls.data()[slot].isNative) return;
  header->missed.fetch_add(1, std::memory_order_relaxed);
}

constexpr std::uint64_t classOf(const char (&bytes)[8], unsigned char last) {
  std::uint64_t value = 0;
  for (int i = 0; i < 7; ++i) value = value << 8 | static_cast<unsigned char>(bytes[i]);
  return value << 8 | last;
}

/// Reads a pointer in front of the unwinder's header of an exception.
const void* before(const void* header, std::size_t distance) {
  const void* pointer;
  std::memcpy(static_cast<void*>(&pointer), static_cast<const char*>(header) - distance, sizeof pointer);
  return pointer;
}

/// The mangled name of a thrown type; null for anything that is not a C++ exception. libstdc++ and libc++abi keep the
/// type at the same distance. When libstdc++ rethrows an exception_ptr, the exception points to the object instead.
const char* thrownType(std::uint64_t exceptionClass, const void* exception) {
  constexpr std::size_t typeDistance = 80;
  constexpr std::size_t headerSize = 32;
  const void* type = nullptr;
  if (exceptionClass == classOf("GNUCC++", 0) || exceptionClass == classOf("CLNGC++", 0) ||
      exceptionClass == classOf("CLNGC++", 1)) {
    type = before(exception, typeDistance);
  } else if (exceptionClass == classOf("GNUCC++", 1)) {
    type = before(before(exception, typeDistance), headerSize + typeDistance);
  }
  if (type == nullptr) return nullptr;
  const char* name;
  std::memcpy(static_cast<void*>(&name), static_cast<const char*>(type) + sizeof(void*), sizeof name);
  return *name == '*' ? name + 1 : name;
}

}  // namespace

}  // namespace orva::tracing

using namespace orva::tracing;

extern "C" {

/// Returns the end of the stack of a frame that is being unwound, which is where a thunk has its `Frame`. The program's
/// unwinder defines it; null in a program that has none when it starts.
std::uintptr_t endOfStack(void* context) __asm__("_Unwind_GetCFA") __attribute__((weak, visibility("default")));

/// @return the original of the thunk's function.
__attribute__((visibility("hidden"))) void* orva_trace_enter(Frame* frame) {
  ThreadTrace* const trace = currentTrace();
  frame->isRecorded = trace != nullptr ? 1 : 0;
  if (trace != nullptr) {
    thisThread.isRecording = true;
    trace->enter(*frame);
    thisThread.isRecording = false;
  } else {
    countMissed(frame->slot);
  }
  return orva_trace_exports.originals[frame->slot].load(std::memory_order_relaxed);
}

__attribute__((visibility("hidden"))) void orva_trace_leave(Frame* frame) {
  if (thisThread.trace == nullptr) return;
  thisThread.isRecording = true;
  thisThread.trace->leave(*frame);
  thisThread.isRecording = false;
}

/// The personality of the thunks' common body. It only records that an exception passes, and cleans up nothing.
__attribute__((visibility("hidden"))) int orva_trace_personality(int /*version*/, int actions,
                                                                 std::uint64_t exceptionClass, const void* exception,
                                                                 void* context) {
  constexpr int cleanupPhase = 2;
  constexpr int continueUnwind = 8;
  if ((actions & cleanupPhase) != 0 && thisThread.trace != nullptr && !thisThread.isRecording) {
    thisThread.isRecording = true;
    const std::uintptr_t frame = endOfStack != nullptr ? endOfStack(context) : 0;
    thisThread.trace->unwind(reinterpret_cast<const Frame*>(frame), thrownType(exceptionClass, exception));
    thisThread.isRecording = false;
  }
  return continueUnwind;
}

}  // extern "C"

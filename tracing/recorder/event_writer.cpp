// The file of events: made when recording starts, extended by any thread that finds it too short. System calls are made
// directly, because the C library's functions for files are cancellation points.
#include "tracing/recorder/event_writer.h"

#include <fcntl.h>
#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tracing/events/clock.h"

namespace orva::tracing {

namespace {

constexpr std::uint64_t pageSize = 4096;
constexpr std::uint64_t firstRoom = 16 * pageSize;
constexpr std::uint64_t mostRoomAtOnce = 256 * pageSize;  // the call that needs more waits for it

// The program may close any descriptor and change its folder, so each extension opens the file by its absolute path.
char filePath[PATH_MAX];
long onlyProcess = 0;
FileHeader* mapped = nullptr;

int openFile(int flags) {
  return static_cast<int>(syscall(SYS_openat, AT_FDCWD, filePath, O_RDWR | O_CLOEXEC | flags, 0600));
}

/// Reserves the bytes from `begin` to `end` on the disk, so that writing to them cannot fail.
/// @return whether they are reserved; `errno` says why not.
bool reserve(int file, std::uint64_t begin, std::uint64_t end) {
  // Beyond the limit the system would send a signal.
  rlimit limit{};
  if (getrlimit(RLIMIT_FSIZE, &limit) == 0 && end > limit.rlim_cur) {
    errno = EFBIG;
    return false;
  }
  long status = 0;
  do {
    status = syscall(SYS_fallocate, file, 0, begin, end - begin);
  } while (status != 0 && errno == EINTR);
  return status == 0;
}

void stop(FileHeader& header, Stopped why, int error) {
  auto reason = static_cast<std::uint32_t>(Stopped::no);
  if (why == Stopped::failed) header.error = static_cast<std::uint32_t>(error);
  header.stopped.compare_exchange_strong(reason, static_cast<std::uint32_t>(why));
}

std::uint64_t roundedUp(std::uint64_t size) { return (size + pageSize - 1) / pageSize * pageSize; }

/// Writes zeros to bytes that no record has yet, and maps them. Written by one call, they are large pages of the
/// system's cache; a fault for each page takes three times as long, because it reads the page first.
void prepare(int file, char* mapping, std::uint64_t begin, std::uint64_t end) {
  static char zeros[2 * mostRoomAtOnce];  // seldom takes memory, because nothing is written to it
  syscall(SYS_pwrite64, file, zeros, std::min<std::uint64_t>(end - begin, sizeof zeros), begin);
  // Older systems do not know it.
  madvise(mapping + begin, end - begin, MADV_POPULATE_WRITE);
}

/// Makes room for `needed` bytes, while no other thread or process does.
bool extendAlone(FileHeader& header, std::uint64_t needed) {
  const std::uint64_t begin = header.reserved;
  if (needed <= begin) return true;
  const int file = openFile(0);
  if (file < 0) return false;
  // Double the size, so that the file is seldom opened; if that does not fit, take only what is needed.
  std::uint64_t end = std::min(roundedUp(needed) + std::min(begin, mostRoomAtOnce), header.limit);
  bool isReserved = reserve(file, begin, end);
  if (!isReserved) {
    end = std::min(roundedUp(needed), header.limit);
    isReserved = reserve(file, begin, end);
  }
  const int error = errno;
  if (isReserved) prepare(file, reinterpret_cast<char*>(&header), begin, end);
  syscall(SYS_close, file);
  errno = error;
  if (isReserved) header.reserved = end;
  return isReserved;
}

/// Waits until nobody else extends the file, but not forever: a process that was killed meanwhile never lets go, and
/// nobody can take its place, because a process that was only stopped would write its zeros over records.
/// @return false when the wait was too long or has become needless.
bool awaitOthers(FileHeader& header) {
  constexpr time_t longest = 10;
  timespec deadline{};
  clock_gettime(CLOCK_MONOTONIC, &deadline);
  deadline.tv_sec += longest;
  while (header.extending.exchange(1) != 0) {
    const long status = syscall(SYS_futex, &header.extending, FUTEX_WAIT_BITSET, 1, &deadline, nullptr, ~0U);
    if (isStopped(header)) return false;
    if (status != 0 && errno == ETIMEDOUT) {
      errno = EOWNERDEAD;
      return false;
    }
  }
  return true;
}

/// Makes room for `needed` bytes; `errno` says why not.
bool extend(FileHeader& header, std::uint64_t needed) {
  if (!awaitOthers(header)) return false;
  const bool isExtended = extendAlone(header, needed);
  const int error = errno;
  header.extending = 0;
  syscall(SYS_futex, &header.extending, FUTEX_WAKE, INT_MAX);
  errno = error;
  return isExtended;
}

/// Claims the next bytes of the file.
char* claim(FileHeader& header, std::uint64_t size) {
  const std::uint64_t begin = header.end.fetch_add(size, std::memory_order_relaxed);
  const std::uint64_t end = begin + size;
  if (end > header.reserved.load(std::memory_order_relaxed)) {
    const int error = errno;
    if (end > header.limit) {
      stop(header, Stopped::limit, 0);
    } else if (!extend(header, end)) {
      stop(header, Stopped::failed, errno);
    }
    errno = error;
    if (isStopped(header)) return nullptr;
  }
  return reinterpret_cast<char*>(&header) + begin;
}

std::uint64_t limitFromEnvironment() {
  const char* const text = secure_getenv(limitVariable);
  const std::uint64_t limit = text == nullptr ? 0 : std::strtoull(text, nullptr, 10);
  return std::max(limit == 0 ? usualLimit : limit, pageSize);
}

/// How much of the address space the program may still map, when that is limited.
std::uint64_t addressSpaceLeft() {
  rlimit limit{};
  if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return RLIM_INFINITY;
  char text[32] = {};
  const auto file = static_cast<int>(syscall(SYS_openat, AT_FDCWD, "/proc/self/statm", O_RDONLY | O_CLOEXEC));
  if (file < 0) return limit.rlim_cur;
  syscall(SYS_read, file, text, sizeof text - 1);
  syscall(SYS_close, file);
  const std::uint64_t used = std::strtoull(text, nullptr, 10) * pageSize;
  return limit.rlim_cur > used ? limit.rlim_cur - used : 0;
}

/// Mapped memory counts against the program's limit of its address space, so this takes only a small part of it.
std::uint64_t limitOfFile() {
  constexpr std::uint64_t least = std::uint64_t{1} << 20;
  const std::uint64_t part = addressSpaceLeft() / 16 / pageSize * pageSize;
  return std::min(limitFromEnvironment(), std::max(part, least));
}

/// Takes the first free name for this process, which may have used others when it ran another program.
int createFile(const char* folder) {
  for (unsigned number = 0;; ++number) {
    const int length = std::snprintf(filePath, sizeof filePath, "%s/%d-%u.events", folder, getpid(), number);
    if (length < 0 || static_cast<std::size_t>(length) >= sizeof filePath) return -1;
    const int file = openFile(O_CREAT | O_EXCL);
    if (file >= 0 || errno != EEXIST) return file;
  }
}

void fillHeader(FileHeader& header, std::uint64_t limit, std::uint64_t room) {
  header.version = fileVersion;
  header.headerSize = sizeof(FileHeader);
  header.limit = limit;
  header.startTime = monotonicTime();
  header.startOfDay = nanosecondsOf(CLOCK_REALTIME);
  header.process = static_cast<std::uint32_t>(getpid());
  header.parent = static_cast<std::uint32_t>(getppid());
  header.end = sizeof(FileHeader);
  header.reserved = room;
  std::atomic_signal_fence(std::memory_order_release);
  header.magic = fileMagic;
}

FileHeader* map(int file, std::uint64_t size) {
  void* const place = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_NORESERVE, file, 0);
  return place == MAP_FAILED ? nullptr : static_cast<FileHeader*>(place);
}

/// Maps the file at its largest possible size. If that does not fit, maps only the header, which says so.
FileHeader* mapFile(int file) {
  const std::uint64_t limit = limitOfFile();
  std::uint64_t room = std::min(firstRoom, limit);
  int error = 0;
  if (!reserve(file, 0, room)) {
    error = errno;
    room = pageSize;
    if (!reserve(file, 0, room)) return nullptr;
  }
  FileHeader* header = map(file, limit);
  if (header == nullptr) {
    error = errno;
    header = map(file, pageSize);
    if (header == nullptr) return nullptr;
  }
  fillHeader(*header, limit, room);
  if (error != 0) stop(*header, Stopped::failed, error);
  return header;
}

}  // namespace

bool mayRecord() { return onlyProcess == 0 || onlyProcess == getpid(); }

FileHeader* createEventFile() {
  const char* const folder = secure_getenv(folderVariable);
  const char* const process = secure_getenv(processVariable);
  if (process != nullptr) onlyProcess = std::strtol(process, nullptr, 10);
  if (folder == nullptr || *folder == '\0' || !mayRecord()) return nullptr;
  const int file = createFile(folder);
  if (file < 0) return nullptr;
  mapped = mapFile(file);
  syscall(SYS_close, file);
  return mapped;
}

void* writeRecord(const RecordHead& head, const void* payload, std::uint32_t size) {
  if (isStopped(*mapped)) return nullptr;
  const std::uint32_t whole = (static_cast<std::uint32_t>(sizeof(Record)) + size + 7) / 8 * 8;
  char* const place = claim(*mapped, whole);
  if (place == nullptr) return nullptr;
  auto* const record = reinterpret_cast<Record*>(place);
  record->size = whole;
  std::atomic_signal_fence(std::memory_order_release);
  record->thread = head.thread;
  record->call = head.call;
  record->depth = head.depth;
  record->time = head.time;
  std::memcpy(place + sizeof(Record), payload, size);
  record->kind.store(static_cast<std::uint32_t>(head.kind), std::memory_order_release);
  return place + sizeof(Record);
}

}  // namespace orva::tracing

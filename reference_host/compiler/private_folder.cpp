// The folder is locked while its process lives: whoever can lock it knows that the process is dead. Process ids would
// not work, because containers have their own and may share the parent folder.
#include "reference_host/compiler/private_folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <mutex>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "reference_host/compiler/files.h"
#include "reference_host/language/printable_text.h"

namespace orva::compiler {

using language::inQuotes;

namespace fs = std::filesystem;

constexpr std::string_view prefix = "orva-host-";

// A signal handler reads these, once the owner is set.
static std::array<char, PATH_MAX> folderPath;
static int lockedFolder = -1;
static std::atomic<pid_t> owner{0};
static std::mutex mutex;

// Other threads keep running while a signal ends the process.
static std::atomic<bool> isEnding{false};
static std::atomic<int> changers{0};

// Set by the thread that exits the process.
static std::atomic<bool> isExiting{false};
static pthread_t exitingThread;
static std::atomic<bool> isGone{false};

/// The folder that TMPDIR names; empty when it names none.
static std::string namedFolder() {
  const char* const named = std::getenv("TMPDIR");
  return named == nullptr ? "" : named;
}

static std::string folderForFolders() { return namedFolder().empty() ? "/tmp" : namedFolder(); }

[[noreturn]] static void fail(int reason) {
  throw std::runtime_error("Cannot create a folder in " + inQuotes(folderForFolders()) +
                           (namedFolder().empty() ? "" : ", the value of TMPDIR") + ": " +
                           std::generic_category().message(reason));
}

static int openFolder(const std::string& path) {
  return open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

/// Opens and locks a new folder.
/// @return its descriptor, which holds the lock; -1 when another process removed it as abandoned.
static int lockNewFolder(const std::string& path) {
  const int folder = openFolder(path);
  if (folder < 0 && errno == ENOENT) return -1;
  if (folder < 0) {
    const int reason = errno;
    rmdir(path.c_str());
    fail(reason);
  }
  // If folders cannot be locked, nobody can mistake this one for an abandoned one either.
  flock(folder, LOCK_EX);
  struct stat status{};
  if (stat(path.c_str(), &status) == 0) return folder;
  close(folder);
  return -1;
}

namespace {

/// Blocks all signals, so that a handler never finds a folder that exists but is not yet known.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;

 private:
  sigset_t before_;
};

/// Makes the end of the process wait while a folder is created or removed, or prevents that once the end has begun.
/// This thread must not receive a signal that ends the process meanwhile: the handler would wait forever.
class Changing {
 public:
  Changing() {
    ++changers;
    if (!isEnding) return;
    --changers;
    for (;;) pause();
  }
  ~Changing() { --changers; }
  Changing(const Changing&) = delete;
  Changing& operator=(const Changing&) = delete;

 private:
  const BlockedSignals blocked_;
};

}  // namespace

/// Creates a folder that nobody else may read. Throws `std::runtime_error` when it cannot.
static void makeFolder() {
  if (isExiting && pthread_equal(exitingThread, pthread_self()) != 0) fail(ECANCELED);
  std::error_code error;
  // Resolves links, which may lead elsewhere by the time the folder is removed.
  fs::path parent = fs::canonical(folderForFolders(), error);
  // If the working directory is too deep, only the relative name is left.
  if (error || parent.native().size() >= folderPath.size()) parent = folderForFolders();
  for (;;) {
    std::string path = (parent / prefix).string() + unguessableDigits();
    if (path.size() >= folderPath.size()) fail(ENAMETOOLONG);
    const Changing changing;
    if (mkdir(path.c_str(), S_IRWXU) != 0) fail(errno);
    // The umask may have removed permissions that the owner needs.
    chmod(path.c_str(), S_IRWXU);
    const int folder = lockNewFolder(path);
    if (folder < 0) continue;
    *std::copy(path.begin(), path.end(), folderPath.begin()) = '\0';
    lockedFolder = folder;
    owner = getpid();
    return;
  }
}

fs::path privateFolder() {
  const std::lock_guard<std::mutex> lock(mutex);
  // A process that was forked from the one that created the folder creates its own.
  if (owner != getpid()) makeFolder();
  return folderPath.data();
}

/// Removes the files in an open folder. Async-signal-safe, unlike `readdir`.
static void removeFilesIn(int folder) noexcept {
  alignas(dirent64) std::array<char, 2048> entries;
  // Removing entries while reading may hide others, so the folder is read until nothing more is removed.
  for (bool isChanged = true; isChanged;) {
    isChanged = false;
    lseek(folder, 0, SEEK_SET);
    for (ssize_t size = 0; (size = getdents64(folder, entries.data(), entries.size())) > 0;) {
      for (const char* at = entries.data(); at < entries.data() + size;) {
        const auto* entry = reinterpret_cast<const dirent64*>(at);
        if (unlinkat(folder, entry->d_name, 0) == 0) isChanged = true;
        at += entry->d_reclen;
      }
    }
  }
}

static void removeOwnFolder() noexcept {
  pid_t self = getpid();
  if (!owner.compare_exchange_strong(self, 0)) return;
  removeFilesIn(lockedFolder);
  // Another thread may be writing a file and renaming it.
  constexpr int mostTries = 1000;
  for (int i = 0; i < mostTries && rmdir(folderPath.data()) != 0 && errno == ENOTEMPTY; ++i) {
    removeFilesIn(lockedFolder);
  }
  close(lockedFolder);
}

void removePrivateFolder() noexcept {
  const Changing changing;
  removeOwnFolder();
}

void removePrivateFolderAtExit() noexcept {
  const BlockedSignals blocked;
  exitingThread = pthread_self();
  isExiting = true;
  if (isEnding.exchange(true)) {
    // A signal is ending the process in another thread.
    for (;;) pause();
  }
  while (changers != 0) sched_yield();
  removeOwnFolder();
  isGone = true;
}

void endPrivateFolders() noexcept {
  // Another thread, which exits or in which another signal ends the process, is removing the folder.
  while (isEnding.exchange(true)) {
    if (isGone) return;
    sched_yield();
  }
  while (changers != 0) sched_yield();
  removeOwnFolder();
}

static void removeIfAbandoned(const std::string& path) {
  const int folder = openFolder(path);
  if (folder < 0) return;
  struct stat status{};
  const bool isOurs = fstat(folder, &status) == 0 && status.st_uid == geteuid();
  if (isOurs && flock(folder, LOCK_EX | LOCK_NB) == 0) {
    removeFilesIn(folder);
    rmdir(path.c_str());
  }
  close(folder);
}

void removeAbandonedFolders() {
  std::error_code error;
  for (fs::directory_iterator entry(folderForFolders(), error); entry != fs::directory_iterator();
       entry.increment(error)) {
    if (isUnguessableName(entry->path().filename().native(), prefix)) removeIfAbandoned(entry->path());
  }
}

}  // namespace orva::compiler

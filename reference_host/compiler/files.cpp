// Reads whole files with LLVM, and writes them with system calls.
#include "reference_host/compiler/files.h"

#include <fcntl.h>
#include <llvm/ADT/StringExtras.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <random>
#include <set>
#include <stdexcept>
#include <system_error>

#include "reference_host/language/printable_text.h"

namespace orva::compiler {

using language::inQuotes;

namespace fs = std::filesystem;

std::unique_ptr<llvm::MemoryBuffer> readFile(const std::string& path) {
  std::error_code error;
  const fs::file_type type = fs::status(path, error).type();
  // Opening a FIFO would wait for a writer.
  if (!error && type != fs::file_type::regular) {
    throw std::runtime_error("Cannot read " + inQuotes(path) + ": expected a regular file");
  }
  // LLVM does not map volatile files that need a zero at the end: truncating a mapped file would end the process.
  constexpr bool needsZero = true;
  constexpr bool isVolatile = true;
  auto buffer = llvm::MemoryBuffer::getFile(path, false, needsZero, isVolatile);
  // Some file systems report a size of zero for files that are not empty.
  if (buffer && (*buffer)->getBufferSize() == 0) buffer = llvm::MemoryBuffer::getFileAsStream(path);
  if (!buffer) throw std::runtime_error("Cannot read " + inQuotes(path) + ": " + buffer.getError().message());
  return std::move(*buffer);
}

language::SourceText readSource(const std::string& path) { return {path, readFile(path)->getBuffer().str()}; }

std::string unguessableDigits() {
  std::random_device random;
  const uint64_t high = random();
  return llvm::utohexstr(high << 32 | random(), true, 16);
}

bool isUnguessableName(std::string_view name, std::string_view prefix) {
  constexpr std::size_t digits = 16;
  const auto isDigit = [](char each) { return (each >= '0' && each <= '9') || (each >= 'a' && each <= 'f'); };
  return name.size() == prefix.size() + digits && name.substr(0, prefix.size()) == prefix &&
         std::all_of(name.begin() + prefix.size(), name.end(), isDigit);
}

/// The names of the files that are being written. A signal does not remove files that find no place here.
static std::array<std::atomic<const char*>, 64> unfinishedNames;

void removeUnfinishedFiles() noexcept {
  for (auto& name : unfinishedNames) {
    // Taken out first, so that the thread that writes the file does not free the name meanwhile.
    if (const char* const file = name.exchange(nullptr)) unlink(file);
  }
}

[[noreturn]] static void failWithErrno() { throw std::system_error(errno, std::generic_category()); }

namespace {

/// A name in the list above.
class UnfinishedName {
 public:
  explicit UnfinishedName(const char* name)
      : name_(name),
        place_(std::find_if(unfinishedNames.begin(), unfinishedNames.end(), [name](std::atomic<const char*>& place) {
          const char* none = nullptr;
          return place.compare_exchange_strong(none, name);
        })) {}
  ~UnfinishedName() {
    const char* name = name_;
    if (place_ == unfinishedNames.end() || place_->compare_exchange_strong(name, nullptr)) return;
    // Another thread is ending the process and may still read the name.
    for (;;) pause();
  }
  UnfinishedName(const UnfinishedName&) = delete;
  UnfinishedName& operator=(const UnfinishedName&) = delete;

 private:
  const char* const name_;
  const decltype(unfinishedNames)::iterator place_;
};

constexpr const char* prefix = ".orva-";

/// Creates a file, and locks it while it is open: whoever can lock it knows that its process is dead. Throws
/// `std::system_error`.
int createLocked(const std::string& name) {
  for (;;) {
    const int file = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0) failWithErrno();
    // If files cannot be locked, nobody can mistake this one for an abandoned one either.
    flock(file, LOCK_EX);
    struct stat status{};
    if (fstat(file, &status) != 0 || status.st_nlink > 0) return file;
    // Another process removed it as abandoned before it was locked.
    close(file);
  }
}

void removeIfAbandoned(const fs::path& path) {
  // Opening a FIFO would wait for a writer.
  const int file = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) return;
  struct stat status{};
  const bool isOurs = fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid();
  if (isOurs && flock(file, LOCK_EX | LOCK_NB) == 0) unlink(path.c_str());
  close(file);
}

/// Removes what killed processes were writing in a folder. Does so only once, because it reads the whole folder.
void removeAbandonedFilesIn(const fs::path& folder) {
  static std::mutex mutex;
  static auto* const known = new std::set<fs::path>();
  const std::lock_guard<std::mutex> lock(mutex);
  if (!known->insert(folder).second) return;
  std::error_code error;
  for (fs::directory_iterator entry(folder.empty() ? "." : folder, error); entry != fs::directory_iterator();
       entry.increment(error)) {
    if (isUnguessableName(entry->path().filename().native(), prefix)) removeIfAbandoned(entry->path());
  }
}

/// A new file beside another one, which takes its place or is removed. Every function throws `std::system_error`.
class UnfinishedFile {
 public:
  /// The name is short, so that it is valid in any folder where the target's own name is.
  explicit UnfinishedFile(std::string target)
      : target_(std::move(target)),
        name_((fs::path(target_).parent_path() / (prefix + unguessableDigits())).string()),
        unfinished_(name_.c_str()),
        file_(createLocked(name_)) {}
  ~UnfinishedFile() {
    if (file_ >= 0) ::close(file_);
    if (!isFinished_) unlink(name_.c_str());
  }
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;

  void write(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t written = ::write(file_, bytes.data(), bytes.size());
      if (written == 0) errno = EIO;
      if (written <= 0 && errno != EINTR) failWithErrno();
      if (written > 0) bytes.remove_prefix(static_cast<std::size_t>(written));
    }
  }

  void finish(std::optional<mode_t> mode) {
    struct stat old{};
    if (!mode && lstat(target_.c_str(), &old) == 0 && S_ISREG(old.st_mode)) mode = old.st_mode & 0777;
    // If modes cannot be changed, all files have the same mode.
    if (mode) fchmod(file_, *mode);
    // Some file systems report a failed write when a file is closed. Its lock is kept until it has its name.
    const int lock = fcntl(file_, F_DUPFD_CLOEXEC, 0);
    if (lock < 0 || ::close(std::exchange(file_, lock)) != 0) failWithErrno();
    if (std::rename(name_.c_str(), target_.c_str()) != 0) failWithErrno();
    isFinished_ = true;
  }

 private:
  const std::string target_;
  const std::string name_;
  const UnfinishedName unfinished_;  // registered before the file exists, so that a signal always finds it
  int file_;
  bool isFinished_ = false;
};

}  // namespace

void writeFile(const std::string& path, const std::string& bytes, std::optional<mode_t> mode) {
  removeAbandonedFilesIn(fs::path(path).parent_path());
  try {
    UnfinishedFile file(path);
    file.write(bytes);
    file.finish(mode);
  } catch (const std::system_error& failure) {
    throw std::runtime_error("Cannot write " + inQuotes(path) + ": " + failure.code().message());
  }
}

}  // namespace orva::compiler

// Whole files, read by LLVM and written by the system's own calls.
#include "reference_host/compiler/files.h"

#include <fcntl.h>
#include <llvm/ADT/StringExtras.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <string_view>
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
  // LLVM maps no volatile file that needs a zero at its end: a mapped one that is cut short would end the process.
  constexpr bool needsZero = true;
  constexpr bool isVolatile = true;
  auto buffer = llvm::MemoryBuffer::getFile(path, false, needsZero, isVolatile);
  if (!buffer) throw std::runtime_error("Cannot read " + inQuotes(path) + ": " + buffer.getError().message());
  return std::move(*buffer);
}

language::SourceText readSource(const std::string& path) { return {path, readFile(path)->getBuffer().str()}; }

std::string unguessableDigits() {
  std::random_device random;
  const uint64_t high = random();
  return llvm::utohexstr(high << 32 | random(), true, 16);
}

/// The names of the files that are being written. A file that finds no place is not removed by a signal.
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
    // Another thread is ending the process, and reads the name until then.
    for (;;) pause();
  }
  UnfinishedName(const UnfinishedName&) = delete;
  UnfinishedName& operator=(const UnfinishedName&) = delete;

 private:
  const char* const name_;
  const decltype(unfinishedNames)::iterator place_;
};

/// A new file beside another one, which takes its place or is removed. Every function throws `std::system_error`.
class UnfinishedFile {
 public:
  /// The name is short: it fits into any folder that the target's own name fits into.
  explicit UnfinishedFile(std::string target)
      : target_(std::move(target)),
        name_((fs::path(target_).parent_path() / (".orva-" + unguessableDigits())).string()),
        unfinished_(name_.c_str()),
        file_(open(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666)) {
    if (file_ < 0) failWithErrno();
  }
  ~UnfinishedFile() {
    if (file_ >= 0) ::close(file_);
    if (!isFinished_) unlink(name_.c_str());
  }
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;

  void write(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t written = ::write(file_, bytes.data(), bytes.size());
      if (written < 0 && errno != EINTR) failWithErrno();
      if (written > 0) bytes.remove_prefix(static_cast<std::size_t>(written));
    }
  }

  void finish(std::optional<mode_t> mode) {
    struct stat old{};
    if (!mode && lstat(target_.c_str(), &old) == 0 && S_ISREG(old.st_mode)) mode = old.st_mode & 0777;
    // Where modes cannot be changed, all files have the same.
    if (mode) fchmod(file_, *mode);
    if (::close(std::exchange(file_, -1)) != 0) failWithErrno();
    if (std::rename(name_.c_str(), target_.c_str()) != 0) failWithErrno();
    isFinished_ = true;
  }

 private:
  const std::string target_;
  const std::string name_;
  const UnfinishedName unfinished_;  // before the file is there, so that a signal never finds an unknown one
  int file_;
  bool isFinished_ = false;
};

}  // namespace

void writeFile(const std::string& path, const std::string& bytes, std::optional<mode_t> mode) {
  try {
    UnfinishedFile file(path);
    file.write(bytes);
    file.finish(mode);
  } catch (const std::system_error& failure) {
    throw std::runtime_error("Cannot write " + inQuotes(path) + ": " + failure.code().message());
  }
}

}  // namespace orva::compiler

// Writing by the system's own calls, whose errors keep their reason.
#include "tracing/program/output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "reference_host/language/printable_text.h"
#include "tracing/program/failure.h"

namespace orva::tracing {

using language::inQuotes;

int DescriptorBuffer::sync() {
  const char* at = pbase();
  while (error_ == 0 && at < pptr()) {
    const ssize_t count = write(descriptor_, at, static_cast<std::size_t>(pptr() - at));
    if (count > 0) at += count;
    // A file that accepts nothing now will not accept anything later.
    if (count == 0) error_ = EIO;
    if (count < 0 && errno != EINTR) error_ = errno;
  }
  setp(buffer_.data(), buffer_.data() + size);
  return error_ == 0 ? 0 : -1;
}

DescriptorBuffer::int_type DescriptorBuffer::overflow(int_type character) {
  if (sync() != 0) return traits_type::eof();
  if (!traits_type::eq_int_type(character, traits_type::eof())) sputc(traits_type::to_char_type(character));
  return traits_type::not_eof(character);
}

/// Never takes the place of a standard stream that orva-trace was started without.
static int opened(const std::string& path) {
  const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
  if (descriptor < 0) {
    throw Failure(ownFailure, "cannot write " + inQuotes(path) + ": " + std::generic_category().message(errno));
  }
  if (descriptor > STDERR_FILENO) return descriptor;
  const int higher = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  close(descriptor);
  return higher;
}

static bool isThere(const std::string& path) { return access(path.c_str(), F_OK) == 0 || errno != ENOENT; }

Output::Output(const std::string& path) : Output(path, isThere(path)) {}

Output::Output(const std::string& path, bool wasThere)
    : descriptor_(opened(path)), isOwn_(true), name_(inQuotes(path)), buffer_(descriptor_), stream_(&buffer_) {
  std::error_code ignored;
  // Where the path is a link, the file is elsewhere.
  if (!wasThere) made_ = std::filesystem::canonical(path, ignored).string();
}

Output::Output(int descriptor, const std::string& name)
    : descriptor_(descriptor), isOwn_(false), name_(name), buffer_(descriptor), stream_(&buffer_) {}

Output::~Output() {
  if (isOwn_) close(descriptor_);
  if (!made_.empty()) unlink(made_.c_str());
}

void Output::begin() const {
  // Devices and pipes cannot be emptied, and need not be.
  [[maybe_unused]] const int status = isOwn_ ? ftruncate(descriptor_, 0) : 0;
}

bool Output::isSameFile(const Output& other) const {
  struct stat one{};
  struct stat two{};
  if (fstat(descriptor_, &one) != 0 || fstat(other.descriptor_, &two) != 0) return false;
  return S_ISREG(one.st_mode) && one.st_dev == two.st_dev && one.st_ino == two.st_ino;
}

std::uint64_t Output::size() const {
  struct stat status{};
  return fstat(descriptor_, &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

bool Output::wantsColours() const {
  const char* const without = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  if (without != nullptr && *without != '\0') return false;
  return terminal != nullptr && std::string_view(terminal) != "dumb" && isatty(descriptor_) != 0;
}

bool Output::finish() {
  stream_.flush();
  made_.clear();
  if (buffer_.error() == 0) return true;
  report("the trace ends here: cannot write " + name_ + ": " + std::generic_category().message(buffer_.error()));
  return false;
}

}  // namespace orva::tracing

// The native of `Console`.
#include <poll.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <system_error>

#include "reference_host/runtime/operations.h"

/// Waits until non-blocking output has room.
static void awaitRoom() {
  pollfd output{STDOUT_FILENO, POLLOUT, 0};
  poll(&output, 1, -1);
}

/// Writes a line at once, so that nothing is lost however the process ends. Throws
/// `std::system_error`.
static void writeLine(char* text) {
  std::array<char, 1> end{'\n'};
  std::array<iovec, 2> rest{{{text, std::strlen(text)}, {end.data(), end.size()}}};
  while (rest[1].iov_len > 0) {
    const ssize_t written = writev(STDOUT_FILENO, rest.data(), rest.size());
    // What accepts nothing now accepts nothing later.
    if (written == 0) errno = EIO;
    if (written < 0 && errno == EAGAIN) awaitRoom();
    if (written <= 0 && errno != EAGAIN && errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "Cannot print");
    }
    auto left = written < 0 ? 0 : static_cast<std::size_t>(written);
    for (iovec& part : rest) {
      const std::size_t done = std::min(left, part.iov_len);
      part = {static_cast<char*>(part.iov_base) + done, part.iov_len - done};
      left -= done;
    }
  }
}

/// `static Console.print(text)`: writes a line to standard output.
extern "C" void orva_Console_print(const char* text) {
  // What other natives have printed through the C library comes first.
  std::fflush(stdout);
  writeLine(const_cast<char*>(orvart_printableText(text)));
}

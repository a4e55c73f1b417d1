// Asks for each descriptor, because /proc may be missing.
#include "reference_host/runtime/descriptors.h"

#include <fcntl.h>
#include <sys/resource.h>

namespace orva::runtime {

std::size_t remainingDescriptors(std::size_t most) {
  rlimit files{};
  if (getrlimit(RLIMIT_NOFILE, &files) != 0) return most;
  std::size_t free = 0;
  for (rlim_t each = 0; each < files.rlim_cur && free < most; ++each) {
    if (fcntl(static_cast<int>(each), F_GETFD) == -1) ++free;
  }
  return free;
}

}  // namespace orva::runtime

// Finds out by mapping memory, which works without /proc too.
#include "reference_host/runtime/address_space.h"

#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

namespace orva::runtime {

void* reserveAddresses(std::size_t size) {
  void* const addresses = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  return addresses == MAP_FAILED ? nullptr : addresses;
}

static bool canMap(std::size_t size) {
  void* const probe = reserveAddresses(size);
  if (probe != nullptr) munmap(probe, size);
  return probe != nullptr;
}

bool isAddressSpaceLimited() {
  rlimit addresses{};
  return getrlimit(RLIMIT_AS, &addresses) == 0 && addresses.rlim_cur != RLIM_INFINITY;
}

std::size_t remainingAddresses(std::size_t most) {
  if (!isAddressSpaceLimited() || canMap(most)) return most;
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  std::size_t fitting = 0;
  std::size_t tooMany = most / page + 1;
  while (tooMany - fitting > 1) {
    const std::size_t middle = fitting + (tooMany - fitting) / 2;
    (canMap(middle * page) ? fitting : tooMany) = middle;
  }
  return fitting * page;
}

}  // namespace orva::runtime

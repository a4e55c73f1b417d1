// Starts one thread per core, as far as the system, the address space and the free descriptors allow.
#include "reference_host/compiler/workers.h"

#include <llvm/Support/Threading.h>

#include <algorithm>
#include <exception>
#include <utility>

#include "reference_host/runtime/address_space.h"
#include "reference_host/runtime/descriptors.h"

namespace orva::compiler {

/// For the thread's stack, for what the C library sets aside for its allocations, and for LLVM.
constexpr std::size_t addressesOfEach = 256 * runtime::mebibyte;

/// A thread reads one file at a time; the caller's writes one, whose lock needs a second descriptor while it is closed.
constexpr std::size_t descriptorsOfEach = 2;

Workers::Workers(std::size_t count, std::function<void(std::size_t)> job) : count_(count), job_(std::move(job)) {
  // The caller's thread works too. More threads than jobs would be idle.
  std::size_t wanted = std::min<std::size_t>(llvm::hardware_concurrency().compute_thread_count(), count_);
  wanted = std::min({wanted, runtime::remainingAddresses(wanted * addressesOfEach) / addressesOfEach,
                     runtime::remainingDescriptors(wanted * descriptorsOfEach) / descriptorsOfEach});
  wanted = std::max<std::size_t>(wanted, 1);
  threads_.reserve(wanted);
  try {
    while (threads_.size() + 1 < wanted) {
      threads_.emplace_back([this] {
        while (doNext()) {
        }
      });
    }
  } catch (const std::exception&) {
    // The system allows no more threads.
  }
}

Workers::~Workers() {
  next_ = count_;
  for (std::thread& each : threads_) each.join();
}

bool Workers::doNext() {
  const std::size_t job = next_++;
  if (job >= count_) return false;
  job_(job);
  return true;
}

}  // namespace orva::compiler

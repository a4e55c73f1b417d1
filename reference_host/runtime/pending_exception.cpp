// One slot for each thread.
#include "reference_host/runtime/pending_exception.h"

#include <utility>

namespace orva::runtime {

static std::optional<PendingException>& slot() {
  static thread_local std::optional<PendingException> pending;
  return pending;
}

void setPendingException(PendingException exception) { slot() = std::move(exception); }

std::optional<PendingException> takePendingException() { return std::exchange(slot(), std::nullopt); }

bool isExceptionPending() { return slot().has_value(); }

void forgetPendingException() { slot().reset(); }

}  // namespace orva::runtime

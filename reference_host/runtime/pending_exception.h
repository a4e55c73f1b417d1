// The exception that a native raised and that is thrown when the native returns.
#pragma once

#include <optional>
#include <string>

namespace orva::runtime {

struct PendingException {
  std::string className;
  std::string message;
};

/// Makes an exception pending on this thread; one that was pending gives way.
void setPendingException(PendingException exception);

/// Hands the pending exception of this thread over; none is pending afterwards.
std::optional<PendingException> takePendingException();

/// Tells whether one is pending on this thread.
bool isExceptionPending();

void forgetPendingException();

}  // namespace orva::runtime

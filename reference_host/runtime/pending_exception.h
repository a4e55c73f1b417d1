// The exception that a native raised and that is thrown when the native returns.
#pragma once

#include <optional>
#include <string>

namespace orva::runtime {

struct PendingException {
  std::string className;
  std::string message;
};

/// Makes an exception pending on this thread, in place of any earlier one.
void setPendingException(PendingException exception);

/// Returns the pending exception of this thread and clears it.
std::optional<PendingException> takePendingException();

/// Tells whether an exception is pending on this thread.
bool isExceptionPending();

void forgetPendingException();

}  // namespace orva::runtime

// Runs what may end a process in a process of its own.
#pragma once

#include <functional>

namespace orva::host_contract {

/// Runs an action in a new process, which closes standard error and leaves no core dump.
/// @param seconds after which a signal ends the process.
/// @param action returns the status that the process ends with, from 0 to 99. If it throws, the status is 101.
/// @return how the process ended, as `waitpid` reports it.
///
/// Throws `NotRun` when the process cannot be started, or when another thread takes its status.
int doneApart(unsigned seconds, const std::function<int()>& action);

}  // namespace orva::host_contract

// What may end the process is done in one of its own.
#pragma once

#include <functional>

namespace orva::host_contract {

/// Does something in a new process, which is silent and leaves no core.
/// @param seconds after which a signal ends the process.
/// @param action returns the status that the process ends with, from 0 to 99.
/// @return how it ended, as `waitpid` tells. What `action` throws ends it with 101.
///
/// Throws `NotRun` when there can be no process, or its status went to someone else.
int doneApart(unsigned seconds, const std::function<int()>& action);

}  // namespace orva::host_contract

// What may end the process is done in one of its own.
#pragma once

#include <functional>

namespace orva::host_contract {

/// Does something in a new process, which is silent, leaves no core, and has five seconds.
/// @param action gives the status that the process ends with, from 0 to 99.
/// @return how it ended, as `waitpid` tells; -1 when there is no process. What `action` throws ends it with 101.
int doneApart(const std::function<int()>& action);

}  // namespace orva::host_contract

// Processes that a check makes for what its own may not survive.
#include "host_contract/checks/apart.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orva::host_contract {

int doneApart(const std::function<int()>& action) {
  const pid_t process = fork();
  if (process == 0) {
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    close(STDERR_FILENO);
    alarm(5);
    int status = 101;
    try {
      status = action();
    } catch (...) {
    }
    _exit(status);
  }
  int status = 0;
  return process > 0 && waitpid(process, &status, 0) == process ? status : -1;
}

}  // namespace orva::host_contract

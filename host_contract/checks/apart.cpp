// Child processes of a check, for what its own process may not survive.
#include "host_contract/checks/apart.h"

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "host_contract/check.h"

namespace orva::host_contract {

namespace {

/// Keeps a host that ignores SIGCHLD, or whose handler waits for every child, from taking the status of ours.
class OwnChildren {
 public:
  OwnChildren() {
    struct sigaction plain{};
    plain.sa_handler = SIG_DFL;
    sigaction(SIGCHLD, &plain, &hosts_);
  }
  ~OwnChildren() { sigaction(SIGCHLD, &hosts_, nullptr); }
  OwnChildren(const OwnChildren&) = delete;
  OwnChildren& operator=(const OwnChildren&) = delete;

 private:
  struct sigaction hosts_{};
};

}  // namespace

static int statusOf(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) != process) {
    if (errno != EINTR) throw NotRun{"another thread of this host waits for every child of the process"};
  }
  return status;
}

int doneApart(unsigned seconds, const std::function<int()>& action) {
  const OwnChildren ownChildren;
  const pid_t process = fork();
  if (process < 0) throw NotRun{"the check's process cannot start another one"};
  if (process == 0) {
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    close(STDERR_FILENO);
    alarm(seconds);
    int status = 101;
    try {
      status = action();
    } catch (...) {
    }
    _exit(status);
  }
  return statusOf(process);
}

}  // namespace orva::host_contract

// Only async-signal-safe calls: a signal may arrive while any lock is held.
#include "reference_host/program/signals.h"

#include <unistd.h>

#include <csignal>

#include "reference_host/compiler/files.h"
#include "reference_host/compiler/private_folder.h"

namespace orva::program {

static void cleanUp(int signal) {
  compiler::removeUnfinishedFiles();
  compiler::endPrivateFolders();
  // The signal takes its default action as soon as it is unblocked.
  std::signal(signal, SIG_DFL);
  raise(signal);
  sigset_t raised;
  sigemptyset(&raised);
  sigaddset(&raised, signal);
  pthread_sigmask(SIG_UNBLOCK, &raised, nullptr);
  // The first process of a container survives the default action.
  _exit(128 + signal);
}

/// If a write exceeds the file size limit, the system sends this signal in the name of the writing process, and the
/// write fails. The signal is handled instead of ignored, because programs that natives start would inherit an ignored
/// one.
static void cleanUpUnlessOwn(int signal, siginfo_t* info, void* /*context*/) {
  if (info->si_code == SI_USER && info->si_pid == getpid()) return;
  cleanUp(signal);
}

/// Sets the action for a signal, unless it is ignored or handled already.
static void handle(int signal, const struct sigaction& action) {
  struct sigaction before{};
  if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_DFL) sigaction(signal, &action, nullptr);
}

void cleanUpOnSignals() {
  struct sigaction ending{};
  ending.sa_handler = cleanUp;
  ending.sa_flags = SA_ONSTACK;
  // Further signals, even of the same kind, wait until everything is removed.
  sigfillset(&ending.sa_mask);
  for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGALRM, SIGTERM, SIGUSR1, SIGUSR2, SIGXCPU, SIGVTALRM,
                           SIGPROF, SIGPOLL, SIGPWR, SIGSTKFLT}) {
    handle(signal, ending);
  }
  for (int signal = SIGRTMIN; signal <= SIGRTMAX; ++signal) handle(signal, ending);
  struct sigaction sent{};
  sent.sa_sigaction = cleanUpUnlessOwn;
  sent.sa_mask = ending.sa_mask;
  sent.sa_flags = SA_SIGINFO | SA_RESTART | SA_ONSTACK;
  handle(SIGXFSZ, sent);
}

}  // namespace orva::program

// Only async-signal-safe calls: a signal may come while anything holds any lock.
#include "reference_host/program/signals.h"

#include <unistd.h>

#include <csignal>

#include "reference_host/compiler/files.h"
#include "reference_host/compiler/private_folder.h"

namespace orva::program {

static void cleanUp(int signal) {
  compiler::removeUnfinishedFiles();
  compiler::removePrivateFolder();
  // It takes its default action as soon as it is let through.
  raise(signal);
  sigset_t raised;
  sigemptyset(&raised);
  sigaddset(&raised, signal);
  pthread_sigmask(SIG_UNBLOCK, &raised, nullptr);
  // There is none for the first process of a container.
  _exit(128 + signal);
}

/// Handles a signal, once, unless it is ignored or handled already.
static void handle(int signal, void (*handler)(int), int flags) {
  struct sigaction action{};
  if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) return;
  action.sa_handler = handler;
  action.sa_flags = flags;
  sigaction(signal, &action, nullptr);
}

void cleanUpOnSignals() {
  constexpr int flags = static_cast<int>(SA_RESETHAND | SA_ONSTACK);
  for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGALRM, SIGTERM, SIGUSR1, SIGUSR2, SIGXCPU, SIGVTALRM,
                           SIGPROF, SIGPOLL, SIGPWR, SIGSTKFLT}) {
    handle(signal, cleanUp, flags);
  }
  for (int signal = SIGRTMIN; signal <= SIGRTMAX; ++signal) handle(signal, cleanUp, flags);
  // A handler that does nothing, where programs that natives start would inherit an ignored signal.
  handle(SIGXFSZ, [](int) {}, SA_RESTART);
}

}  // namespace orva::program

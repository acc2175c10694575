#include "cli/interruption.h"

#include <signal.h>

#include <atomic>
#include <thread>

namespace tagwriter {
namespace {

std::atomic<bool> interrupted = false;

/// The signals that request a stop, except those ignored at start: a background job of a script
/// ignores SIGINT, and nohup ignores SIGHUP.
sigset_t interruptSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action {};
    if (::sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
      sigaddset(&signals, number);
    }
  }
  return signals;
}

void waitForInterrupt(const sigset_t& signals) {
  int number = 0;
  if (::sigwait(&signals, &number) != 0) return;
  interrupted = true;
  // The next signal has its default effect.
  ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

}  // namespace

Interruption::Interruption() {
  const sigset_t signals = interruptSignals();
  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  // The thread lives as long as the process.
  std::thread([signals] {
    waitForInterrupt(signals);
    while (true) ::pause();
  }).detach();
}

bool Interruption::requested() const {
  return interrupted;
}

}  // namespace tagwriter

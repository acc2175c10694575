#include "cli/interruption.h"

#include <signal.h>

#include <atomic>
#include <thread>

namespace tagwriter {
namespace {

std::atomic<bool> interrupted = false;

sigset_t interruptSignal() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  return signals;
}

void waitForInterrupts() {
  const sigset_t signals = interruptSignal();
  int number = 0;
  ::sigwait(&signals, &number);
  interrupted = true;
  // The next one has its usual effect.
  ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

}  // namespace

Interruption::Interruption() {
  const sigset_t signals = interruptSignal();
  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  // It waits for as long as the process lives.
  std::thread([] {
    waitForInterrupts();
    while (true) ::pause();
  }).detach();
}

bool Interruption::requested() const {
  return interrupted;
}

}  // namespace tagwriter

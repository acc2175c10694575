#include "cli/interruption.h"

#include <signal.h>

#include <array>
#include <atomic>

namespace tagwriter {
namespace {

constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP};

std::atomic<bool> interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler must not wait");

/// Makes `handler` receive the signals, except those that are ignored: a background job of a script
/// ignores SIGINT, and nohup ignores SIGHUP.
void handleWith(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  for (const int number : kSignals) {
    struct sigaction current {};
    const bool isKnown = ::sigaction(number, nullptr, &current) == 0;
    if (isKnown && current.sa_handler != SIG_IGN) ::sigaction(number, &action, nullptr);
  }
}

void onSignal(int) {
  interrupted = true;
  handleWith(SIG_DFL);  // for the next signal
}

}  // namespace

Interruption::Interruption() {
  handleWith(onSignal);
}

bool Interruption::requested() const {
  return interrupted;
}

}  // namespace tagwriter

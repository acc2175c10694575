#include "transport/dbus/stall_clock.h"

namespace tagwriter::dbus {

StallClock::StallClock(pid_t pid) : known_(::clock_getcpuclockid(pid, &cpuClock_) == 0) {
  restart();
}

std::chrono::nanoseconds StallClock::cpuTime() const {
  timespec time{};
  // A process that is gone makes no progress.
  if (!known_ || ::clock_gettime(cpuClock_, &time) != 0) return {};
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

void StallClock::restart() {
  lastCpuTime_ = cpuTime();
  lastProgress_ = Clock::now();
}

std::chrono::milliseconds StallClock::stalledFor() {
  if (cpuTime() != lastCpuTime_) restart();
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - lastProgress_);
}

}  // namespace tagwriter::dbus

// Tells a process that hangs from one that is busy.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <ctime>

namespace tagwriter::dbus {

/// Measures how long a process has made no progress, as seen by this object: between two looks it
/// has used no CPU time at all. Waiting for a disk costs CPU time too, with every block that
/// arrives. A process that is stopped, or stuck in the kernel, uses none.
class StallClock {
 public:
  /// Starts the clock for the process `pid`. No permission is needed, nor /proc.
  explicit StallClock(pid_t pid);

  /// Looks at the process, and returns the time since it was first seen as it is now.
  std::chrono::milliseconds stalledFor();

  /// Starts again, whatever the process does.
  void restart();

 private:
  using Clock = std::chrono::steady_clock;
  std::chrono::nanoseconds cpuTime() const;

  clockid_t cpuClock_ = 0;
  bool known_ = false;
  std::chrono::nanoseconds lastCpuTime_{};
  Clock::time_point lastProgress_;
};

}  // namespace tagwriter::dbus

// Lets another thread give up on a worker that does not answer.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <mutex>
#include <optional>

#include "base/unique_fd.h"
#include "transport/dbus/stall_clock.h"

namespace tagwriter {

/// Watches a connection while one thread waits for its other end.
class StallGuard {
 public:
  /// From now on watches the connection on `socket`, which is borrowed, to the process `pid`; -1 if
  /// that is unknown.
  void watch(int socket, pid_t pid);

  /// While it lives, a thread waits.
  class Wait {
   public:
    explicit Wait(StallGuard& guard) : guard_(guard) { guard_.setWaiting(true); }
    ~Wait() { guard_.setWaiting(false); }
    Wait(const Wait&) = delete;
    Wait& operator=(const Wait&) = delete;

   private:
    StallGuard& guard_;
  };

  /// Called again and again, from any thread: hangs up if a thread waits and the process has made
  /// no progress for `limit` since the first of these calls. A process that is unknown makes none.
  void hangUpIfStalled(std::chrono::milliseconds limit);

 private:
  void setWaiting(bool isWaiting);

  std::mutex mutex_;
  UniqueFd socket_;
  pid_t pid_ = -1;
  bool isWaiting_ = false;
  std::optional<dbus::StallClock> clock_;
};

}  // namespace tagwriter

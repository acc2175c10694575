// What is served while a call waits for its reply.
#pragma once

#include <poll.h>

#include <vector>

namespace tagwriter::dbus {

/// A descriptor that is served on the thread that waits.
class Watch {
 public:
  Watch() = default;
  virtual ~Watch() = default;
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  /// What to wait for; a negative descriptor if for nothing. Asked before each wait.
  virtual pollfd interest() const = 0;
  /// Called when the descriptor is ready, or has an error or a hang-up. Must not block.
  virtual void handle() = 0;
};

/// Not owned, and never null.
using Watches = std::vector<Watch*>;

}  // namespace tagwriter::dbus

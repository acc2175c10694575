// The player's end of the truncation channel.
#pragma once

#include <systemd/sd-bus.h>

#include <atomic>
#include <thread>

#include "base/unique_fd.h"

namespace tagwriter::dbus {

/// Serves Truncate on a thread of its own for the life of the object: the thread that waits for a
/// Write must not be the one that answers, or both wait for each other.
class TruncationServer {
 public:
  /// Makes the socketpair and starts to serve. On failure endpoint() is negative, and the service
  /// shortens the file itself.
  TruncationServer();
  /// Hangs up and waits for the thread.
  ~TruncationServer();
  TruncationServer(const TruncationServer&) = delete;
  TruncationServer& operator=(const TruncationServer&) = delete;

  /// The service's end, to be sent as "truncateconnection". Stays owned here.
  int endpoint() const { return theirs_.get(); }

  /// Whether a file could not be shortened as the service asked, so that old bytes are left behind
  /// its new end.
  bool failed() const { return failed_; }

 private:
  int answer(sd_bus_message* call, sd_bus_error* error);

  std::atomic<bool> failed_ = false;
  UniqueFd theirs_;
  UniqueFd hangUp_;
  std::thread thread_;
};

}  // namespace tagwriter::dbus

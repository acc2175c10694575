// The player's end of the truncation channel.
#pragma once

#include <systemd/sd-bus.h>

#include <atomic>
#include <thread>

#include "base/unique_fd.h"

namespace tagwriter::dbus {

/// Serves Truncate on its own thread for the lifetime of the object: the thread that waits for
/// Write cannot serve Truncate, or player and service would wait for each other.
class TruncationServer {
 public:
  /// Creates the socketpair and starts serving. On failure endpoint() is negative, and the service
  /// truncates the file itself.
  TruncationServer();
  /// Hangs up and joins the thread.
  ~TruncationServer();
  TruncationServer(const TruncationServer&) = delete;
  TruncationServer& operator=(const TruncationServer&) = delete;

  /// The service's end, to be sent as "truncateconnection". Owned by this object.
  int endpoint() const { return theirs_.get(); }

  /// Whether a truncation failed, so that stale bytes remain after the file's new end.
  bool failed() const { return failed_; }

 private:
  int handle(sd_bus_message* call, sd_bus_error* error);

  std::atomic<bool> failed_ = false;
  UniqueFd theirs_;
  UniqueFd hangUp_;
  std::thread thread_;
};

}  // namespace tagwriter::dbus

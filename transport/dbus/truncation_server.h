// The player's end of the truncation channel.
#pragma once

#include <systemd/sd-bus.h>

#include <optional>

#include "base/unique_fd.h"
#include "transport/dbus/peer_server.h"
#include "transport/dbus/watch.h"

namespace tagwriter::dbus {

/// Serves Truncate while the player waits for the reply to Write, on the same thread. Few requests
/// truncate, so a socketpair is kept for further requests until the service has connected on it.
class TruncationServer final : public Watch {
 public:
  /// Prepares for the next request, and returns the service's end, to be sent as
  /// "truncateconnection". It stays owned by this object. Negative on failure: without it, the
  /// service truncates the file itself.
  int prepare();

  /// Drops the socketpair: the service may still use it for a request that has failed.
  void reset();

  /// Whether a truncation of this request failed, so that stale bytes remain after the file's new
  /// end.
  bool failed() const { return failed_; }

  pollfd interest() const override;
  void handle() override;

 private:
  int truncate(sd_bus_message* call, sd_bus_error* error);

  bool failed_ = false;
  UniqueFd ours_;  ///< until the service connects
  UniqueFd theirs_;
  std::optional<PeerServer> server_;
};

}  // namespace tagwriter::dbus

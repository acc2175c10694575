// The serving end of a peer-to-peer connection, used by the service and by the player alike.
#pragma once

#include <systemd/sd-bus.h>

#include <functional>

#include "base/unique_fd.h"

namespace tagwriter::dbus {

/// One method that takes a{sv} and returns a{sv}.
struct ServedMethod {
  const char* object;
  const char* interface;
  const char* method;
  /// Answers one call: appends the reply or fills the error, as an sd-bus message handler does. Not
  /// called for a message that expects no reply.
  std::function<int(sd_bus_message* call, sd_bus_error* error)> answer;
};

/// Serves `method` on `socket` until the peer hangs up, one call after the other. Takes `socket`
/// over. Waits for the peer's first byte without a time limit. Returns 0 when the peer has hung up
/// and a negative errno when the connection failed, for instance on bytes that are not D-Bus.
int servePeer(UniqueFd socket, const ServedMethod& method);

}  // namespace tagwriter::dbus

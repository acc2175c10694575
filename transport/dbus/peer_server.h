// The server end of a peer-to-peer connection, used by both the service and the player.
#pragma once

#include <systemd/sd-bus.h>

#include <functional>
#include <vector>

#include "base/unique_fd.h"
#include "transport/dbus/handles.h"

namespace tagwriter::dbus {

/// One method that takes a{sv} and returns a{sv}.
struct ServedMethod {
  const char* object;
  const char* interface;
  const char* method;
  /// Handles one call like an sd-bus message handler: sends the reply or sets `error`. Not called
  /// for a message that expects no reply.
  std::function<int(sd_bus_message* call, sd_bus_error* error)> handler;
  /// Adds the interface's properties to the connection, if it has any.
  int (*addProperties)(sd_bus* bus) = nullptr;
};

/// Reads what a peer may ask any process for: a process that is about to lose the right to open
/// files calls this first, on the thread that serves.
void prepareToServe();

/// The server end of one connection, for a loop of the caller's.
class PeerServer {
 public:
  explicit PeerServer(ServedMethod method);
  PeerServer(const PeerServer&) = delete;
  PeerServer& operator=(const PeerServer&) = delete;

  /// Starts to serve on `socket`, which it takes over. Returns 0 or a negative errno.
  int start(UniqueFd socket);
  /// The connection, to be processed and waited for.
  sd_bus* bus() const { return bus_.get(); }

 private:
  ServedMethod method_;
  std::vector<sd_bus_vtable> vtable_;
  BusHandle bus_;  // uses the others
};

/// Serves `method` on `socket`, which it takes over, until the peer hangs up, one call at a time.
/// Waits for the peer's first byte without a time limit. Returns 0 when the peer has hung up, and a
/// negative errno when the connection failed, for instance on bytes that are not D-Bus.
int servePeer(UniqueFd socket, const ServedMethod& method);

}  // namespace tagwriter::dbus

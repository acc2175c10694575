// Method calls that are not interrupted by signals.
#pragma once

#include "transport/dbus/handles.h"
#include "transport/dbus/peer_connection.h"
#include "transport/dbus/watch.h"

namespace tagwriter::dbus {

/// How to wait for a reply.
struct Waiting {
  Deadline deadline = Deadline::never();
  Watches watches = {};  ///< what to serve meanwhile
};

/// Sends `call` and waits for the reply. Unlike with sd_bus_call, a handled signal does not end the
/// wait. Returns 0 and sets `reply`, which may be an error message; or a negative errno when there
/// is no reply: -ETIMEDOUT when the deadline has passed. `isSent`, if given, tells whether the call
/// was sent as a whole: if not, the other end cannot have processed it.
int callAndWait(sd_bus* bus, sd_bus_message* call, const Waiting& waiting, MessageHandle& reply,
                bool* isSent = nullptr);

}  // namespace tagwriter::dbus

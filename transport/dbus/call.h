// Method calls that are not interrupted by signals.
#pragma once

#include "transport/dbus/handles.h"
#include "transport/dbus/peer_connection.h"

namespace tagwriter::dbus {

/// Sends `call` and waits for the reply until `deadline`. Unlike with sd_bus_call, a handled signal
/// does not end the wait. Returns 0 and sets `reply`, which may be an error message; or a negative
/// errno when there is no reply: -ETIMEDOUT when the deadline has passed. `isSent`, if given, tells
/// whether the call was sent as a whole: if not, the other end cannot have processed it.
int callAndWait(sd_bus* bus, sd_bus_message* call, const Deadline& deadline, MessageHandle& reply,
                bool* isSent = nullptr);

}  // namespace tagwriter::dbus

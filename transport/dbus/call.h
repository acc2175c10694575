// Calls on a connection that signals do not cut short.
#pragma once

#include "transport/dbus/handles.h"
#include "transport/dbus/peer_connection.h"

namespace tagwriter::dbus {

/// Sends `call` and waits for the reply until `deadline`. A signal that the process handles in
/// between does not end the wait, as it would end that of sd_bus_call.
/// Returns 0 and fills `reply`, which may be an error message; or a negative errno when there is no
/// reply: -ETIMEDOUT when the deadline passed.
int callAndWait(sd_bus* bus, sd_bus_message* call, const Deadline& deadline, MessageHandle& reply);

}  // namespace tagwriter::dbus

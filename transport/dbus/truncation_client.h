// The service's end of the truncation channel.
#pragma once

#include <memory>

#include "protocol/truncation_connection.h"

namespace tagwriter::dbus {

/// Makes a connection to the player behind `endpoint`, which stays the caller's. The handshake
/// takes place at the first truncation; it and the answer together may take 10 seconds. A player
/// that fails or is silent gives an error there, and every later truncation on the same connection
/// gives the same error at once. Returns null when `endpoint` is no socket.
std::unique_ptr<TruncationConnection> connectForTruncation(int endpoint);

}  // namespace tagwriter::dbus

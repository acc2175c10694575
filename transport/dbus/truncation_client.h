// The service's end of the truncation channel.
#pragma once

#include <memory>

#include "protocol/truncation_connection.h"
#include "transport/dbus/silent_players.h"

namespace tagwriter::dbus {

/// Creates a connection to the player on a duplicate of `endpoint`, which is borrowed. The
/// handshake happens on the first truncation; handshake and reply together may take as long as
/// `players` says for `player`, and the outcome is noted there. Both must outlive the connection.
/// If the connection fails or times out, that truncation and all later ones on the same connection
/// return the same error, without waiting again. Returns null when `endpoint` is not a local stream
/// socket.
std::unique_ptr<TruncationConnection> connectForTruncation(int endpoint, SilentPlayers& players,
                                                           const char* player);

}  // namespace tagwriter::dbus

// The service's end: takes Write calls off the socket and answers them.
#pragma once

#include <functional>

#include "protocol/dictionary.h"
#include "protocol/unique_fd.h"

namespace tagwriter::dbus {

/// Does the work of one request and returns its result.
using RequestHandler = std::function<bool(const Dictionary& request)>;

/// Serves Write on `socket` until the player hangs up. Takes `socket` over. Each reply echoes
/// "path" in the type in which it came, and carries "result". Returns 0 when the player has hung
/// up, and a negative errno when the connection failed.
int serveWrites(UniqueFd socket, const RequestHandler& handler);

}  // namespace tagwriter::dbus

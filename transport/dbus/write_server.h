// The service's end: receives Write calls on a socket and replies to them.
#pragma once

#include <functional>

#include "base/unique_fd.h"
#include "protocol/answer.h"
#include "protocol/dictionary.h"

namespace tagwriter::dbus {

/// Processes one request.
using RequestHandler = std::function<Answer(const Dictionary& request)>;

/// Serves Write on `socket`, which it takes over, until the player hangs up. Each reply contains
/// "path" as it was sent, "result", and "incomplete" if true. An answer that is the last closes the
/// socket for further requests before it is sent, so that the player knows of a later request that
/// it was not taken; those that were sent before are answered. Returns 0 when the player has hung
/// up or after the last answer, and a negative errno when the connection failed.
int serveWrites(UniqueFd socket, const RequestHandler& handler);

}  // namespace tagwriter::dbus

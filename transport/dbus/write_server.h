// The service's end: takes Write calls off the socket and answers them.
#pragma once

#include <functional>

#include "base/unique_fd.h"
#include "protocol/answer.h"
#include "protocol/dictionary.h"

namespace tagwriter::dbus {

/// Does the work of one request.
using RequestHandler = std::function<Answer(const Dictionary& request)>;

/// Serves Write on `socket` until the player hangs up. Takes `socket` over. Each reply echoes
/// "path" in the type in which it came, and carries "result"; "incomplete" as well when it is true.
/// Returns 0 when the player has hung
/// up, and a negative errno when the connection failed.
int serveWrites(UniqueFd socket, const RequestHandler& handler);

}  // namespace tagwriter::dbus

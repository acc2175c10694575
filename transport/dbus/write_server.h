// The service's end: receives Write calls on a socket and replies to them.
#pragma once

#include <functional>

#include "base/unique_fd.h"
#include "protocol/answer.h"
#include "protocol/dictionary.h"
#include "transport/dbus/dictionary_server.h"

namespace tagwriter::dbus {

/// Processes one request.
using RequestHandler = std::function<Answer(const Dictionary& request)>;

/// Serves Write on `socket`, which it takes over, until the player hangs up. Each reply contains
/// "path" as it was sent, "result", and "incomplete" if true. Last replies and the returned value
/// are as in serveDictionaries.
int serveWrites(UniqueFd socket, const RequestHandler& handler, const IsLast& isLast = {});

}  // namespace tagwriter::dbus

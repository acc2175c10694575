// The reader's end: receives Read calls on a socket and replies to them.
#pragma once

#include <functional>

#include "base/unique_fd.h"
#include "protocol/value_dictionary.h"
#include "transport/dbus/dictionary_server.h"

namespace tagwriter::dbus {

/// Processes one request and returns the reply.
using ReadHandler = std::function<ValueDictionary(const ValueDictionary& request)>;

/// Serves Read on `socket`, which it takes over, until the player hangs up. Last replies and
/// the returned value are as in serveDictionaries.
int serveReads(UniqueFd socket, const ReadHandler& handler, const IsLast& isLast = {});

}  // namespace tagwriter::dbus

// The service's end: receives requests on a connection and replies to them.
#pragma once

#include <xpc/xpc.h>

#include "protocol/dictionary.h"

namespace tagwriter::xpc {

/// What processes the requests. Called by several threads at once, one for each connection.
struct Service {
  /// Called before each event is handled.
  void (*setUp)();
  /// Processes one request and returns the result.
  bool (*handleRequest)(const Dictionary& request);
};

/// Serves `player`, a new connection that the runtime owns, until it is closed. Each reply contains
/// "path", if the request has one, and "result". A message that expects no reply is ignored.
void serveWrites(xpc_connection_t player, const Service& service);

}  // namespace tagwriter::xpc

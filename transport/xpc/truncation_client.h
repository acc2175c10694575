// The service's end of the truncation channel.
#pragma once

#include <xpc/xpc.h>

#include <memory>

#include "protocol/truncation_connection.h"

namespace tagwriter::xpc {

/// Creates a connection to the endpoint under `key` in `message`, which is borrowed. The wait for a
/// reply has no time limit: the player must not wait for the service meanwhile. Returns null if
/// there is no endpoint.
std::unique_ptr<TruncationConnection> connectForTruncation(xpc_object_t message, const char* key);

}  // namespace tagwriter::xpc

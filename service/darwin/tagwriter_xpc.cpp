// The XPC service: the system starts it when a player sends the first message.

#include <xpc/xpc.h>

#include "service/request_handler.h"
#include "transport/xpc/write_server.h"

namespace {

void acceptPlayer(xpc_connection_t player) {
  tagwriter::xpc::serveWrites(player, {tagwriter::setUpOnce, tagwriter::handleRequest});
}

}  // namespace

int main() {
  xpc_main(acceptPlayer);
}

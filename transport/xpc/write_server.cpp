#include "transport/xpc/write_server.h"

#include "protocol/keys.h"
#include "transport/xpc/dictionary.h"
#include "transport/xpc/object.h"

namespace tagwriter::xpc {
namespace {

void handleEvent(xpc_object_t event, const Service& service) {
  service.setUp();
  if (xpc_get_type(event) == XPC_TYPE_ERROR) return;  // the player has closed the connection
  const ObjectHandle reply(xpc_dictionary_create_reply(event));
  if (!reply) return;

  const MessageDictionary request(event);
  if (const char* path = request.getString(key::kPath)) {
    xpc_dictionary_set_string(reply.get(), key::kPath, path);
  }
  xpc_dictionary_set_bool(reply.get(), key::kResult, service.handleRequest(request));
  xpc_connection_send_message(xpc_dictionary_get_remote_connection(reply.get()), reply.get());
}

}  // namespace

void serveWrites(xpc_connection_t player, const Service& service) {
  const Service copy = service;
  xpc_connection_set_event_handler(player, ^(xpc_object_t event) {
    handleEvent(event, copy);
  });
  xpc_connection_resume(player);
}

}  // namespace tagwriter::xpc

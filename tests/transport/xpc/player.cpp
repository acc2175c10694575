#include "tests/transport/xpc/player.h"

namespace tagwriter::test {

PlayerConnection::PlayerConnection(xpc_connection_t connection) : connection_(connection) {
  ignoreEvents(connection_.get());
}

ObjectHandle PlayerConnection::send(const ObjectHandle& request) const {
  return ObjectHandle(
      xpc_connection_send_message_with_reply_sync(connection_.get(), request.get()));
}

ObjectHandle changeOf(int fd, const std::string& path, const char* key, const std::string& value) {
  const ObjectHandle track = newDictionary();
  xpc_dictionary_set_string(track.get(), key, value.c_str());
  ObjectHandle request = newDictionary();
  xpc_dictionary_set_fd(request.get(), "fd", fd);
  xpc_dictionary_set_string(request.get(), "path", path.c_str());
  xpc_dictionary_set_string(request.get(), "changedtag", key);
  xpc_dictionary_set_value(request.get(), "track", track.get());
  return request;
}

Accept handleMessages(std::function<void(xpc_connection_t peer, xpc_object_t message)> handler) {
  return [handler](xpc_connection_t peer) {
    xpc_connection_set_event_handler(peer, ^(xpc_object_t event) {
      if (xpc_get_type(event) == XPC_TYPE_DICTIONARY) handler(peer, event);
    });
    xpc_connection_resume(peer);
  };
}

void ignoreEvents(xpc_connection_t peer) {
  handleMessages([](xpc_connection_t, xpc_object_t) {})(peer);
}

void reply(xpc_connection_t peer, xpc_object_t message) {
  const ObjectHandle reply(xpc_dictionary_create_reply(message));
  xpc_connection_send_message(peer, reply.get());
}

Listener::Listener(Accept accept) : connection_(xpc_connection_create(nullptr, nullptr)) {
  xpc_connection_set_event_handler(connection_.get(), ^(xpc_object_t event) {
    if (xpc_get_type(event) == XPC_TYPE_CONNECTION) accept(static_cast<xpc_connection_t>(event));
  });
  xpc_connection_resume(connection_.get());
}

}  // namespace tagwriter::test

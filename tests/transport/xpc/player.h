// The player's side of XPC, for the tests.
#pragma once

#include <functional>
#include <string>

#include "transport/xpc/object.h"

namespace tagwriter::test {

using xpc::ConnectionHandle;
using xpc::ObjectHandle;

inline ObjectHandle newDictionary() {
  return ObjectHandle(xpc_dictionary_create(nullptr, nullptr, 0));
}

/// A connection that ignores events and is cancelled on destruction.
class PlayerConnection {
 public:
  explicit PlayerConnection(xpc_connection_t connection);
  ~PlayerConnection() { xpc_connection_cancel(connection_.get()); }
  PlayerConnection(const PlayerConnection&) = delete;
  PlayerConnection& operator=(const PlayerConnection&) = delete;

  xpc_connection_t get() const { return connection_.get(); }
  /// Sends `request` and returns the reply.
  ObjectHandle send(const ObjectHandle& request) const;

 private:
  ConnectionHandle connection_;
};

/// A request to set the field `key` of the file `fd` to a string.
ObjectHandle changeOf(int fd, const std::string& path, const char* key, const std::string& value);

/// What a listener does with a new connection.
using Accept = std::function<void(xpc_connection_t peer)>;

/// Resumes `peer`, and does nothing with its events.
void ignoreEvents(xpc_connection_t peer);

/// Resumes each new connection, and calls `handler` for each message on it.
Accept handleMessages(std::function<void(xpc_connection_t peer, xpc_object_t message)> handler);

/// Replies to `message` with an empty dictionary.
void reply(xpc_connection_t peer, xpc_object_t message);

/// Listens for new connections, and is cancelled on destruction.
class Listener {
 public:
  explicit Listener(Accept accept);
  ~Listener() { xpc_connection_cancel(connection_.get()); }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  xpc_connection_t get() const { return connection_.get(); }

 private:
  ConnectionHandle connection_;
};

}  // namespace tagwriter::test

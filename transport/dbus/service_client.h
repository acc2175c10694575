// The player's end: sends Write or Read calls and waits for the replies.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <variant>

#include "base/unique_fd.h"
#include "protocol/answer.h"
#include "protocol/value_dictionary.h"
#include "transport/dbus/call.h"
#include "transport/dbus/handles.h"

namespace tagwriter::dbus {

/// Why there is no reply.
struct CallError {
  enum class Kind {
    kNotEncodable,  ///< a text is not UTF-8 or contains a zero byte; nothing was sent
    kNotDelivered,  ///< no service received the request
    kNoAnswer,      ///< it is unknown how far the service got
    kTimedOut,      ///< the same: the deadline has passed
  };
  Kind kind;
  std::string message;
};

/// The reply to a call, with the message that its data and descriptors belong to.
struct Reply {
  MessageHandle message;
  ValueDictionary values;
};

/// A connection to the service or to the reader. Used by one thread at a time.
class ServiceClient {
 public:
  /// Connects to the service or reader at the other end of `socket`, which it takes over. Waits at
  /// most `limit` for the handshake. Returns null on failure, with a message in `error`.
  static std::unique_ptr<ServiceClient> join(UniqueFd socket, std::chrono::microseconds limit,
                                             std::string& error);

  /// Connects to the session bus, which starts the service on the first request. Returns null on
  /// failure, with a message in `error`.
  static std::unique_ptr<ServiceClient> openSessionBus(std::string& error);

  /// Sends `request` and waits for the reply as `waiting` says. Data and descriptors in the request
  /// stay the caller's. Returns the reply's contents, or why there is none.
  std::variant<Answer, CallError> write(const ValueDictionary& request,
                                        const Waiting& waiting = {});
  /// The same for a request to the reader.
  std::variant<Reply, CallError> read(const ValueDictionary& request, const Waiting& waiting = {});

  /// False once the other end has hung up.
  bool connected();

  /// The socket of the connection, which stays owned by it.
  int socket() const { return sd_bus_get_fd(bus_.get()); }

 private:
  ServiceClient(BusHandle bus, const char* destination)
      : bus_(std::move(bus)), destination_(destination) {}

  std::variant<Reply, CallError> call(const char* object, const char* interface, const char* method,
                                      const ValueDictionary& request, const Waiting& waiting);

  BusHandle bus_;
  const char* destination_;  ///< the service's bus name, or null on a peer-to-peer connection
};

}  // namespace tagwriter::dbus

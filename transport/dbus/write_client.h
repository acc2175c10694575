// The player's end: sends Write calls and waits for the replies.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <variant>

#include "base/unique_fd.h"
#include "protocol/answer.h"
#include "protocol/value_dictionary.h"
#include "transport/dbus/handles.h"

namespace tagwriter::dbus {

/// Why there is no reply.
struct CallError {
  enum class Kind {
    kNotEncodable,  ///< a text is not UTF-8 or contains a zero byte; nothing was sent
    kNotDelivered,  ///< no service received the request
    kNoAnswer,      ///< it is unknown how far the service got
  };
  Kind kind;
  std::string message;
};

/// A connection to the service. Used by one thread at a time.
class WriteClient {
 public:
  /// Connects to the service at the other end of `socket`, which it takes over. Waits at most
  /// `limit` for the handshake. Returns null on failure, with a message in `error`.
  static std::unique_ptr<WriteClient> join(UniqueFd socket, std::chrono::microseconds limit,
                                           std::string& error);

  /// Connects to the session bus, which starts the service on the first request. Returns null on
  /// failure, with a message in `error`.
  static std::unique_ptr<WriteClient> openSessionBus(std::string& error);

  /// Sends `request` and waits for the reply without a time limit. Data and descriptors in it stay
  /// the caller's. Returns the reply's contents, or why there is none.
  std::variant<Answer, CallError> write(const ValueDictionary& request);

  /// False once the service has hung up.
  bool connected();

 private:
  WriteClient(BusHandle bus, const char* destination)
      : bus_(std::move(bus)), destination_(destination) {}

  BusHandle bus_;
  const char* destination_;  ///< the service's bus name, or null on a peer-to-peer connection
};

}  // namespace tagwriter::dbus

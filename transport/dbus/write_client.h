// The player's end: sends Write calls and waits for the answers.
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

/// Why there is no answer.
struct CallError {
  enum class Kind {
    kNotEncodable,  ///< a text is not UTF-8 or holds a zero byte; nothing was sent
    kNotDelivered,  ///< nobody has seen the request
    kNoAnswer,      ///< nobody knows how far the service came
  };
  Kind kind;
  std::string message;
};

/// A connection to the service. Used by one thread at a time.
class WriteClient {
 public:
  /// Joins the service at the other end of `socket`, which it takes over. Waits at most
  /// `microseconds` for the handshake. Returns null on failure, with a text in `error`.
  static std::unique_ptr<WriteClient> join(UniqueFd socket, std::chrono::microseconds limit,
                                           std::string& error);

  /// Connects to the session bus, which starts the service at the first request. Returns null on
  /// failure, with a text in `error`.
  static std::unique_ptr<WriteClient> openSessionBus(std::string& error);

  /// Sends `request` and waits, without a time limit, for the work to be done. Data and descriptors
  /// in it are only read. Returns what the reply says, or why there is none.
  std::variant<Answer, CallError> write(const ValueDictionary& request);

  /// False once the service has hung up.
  bool connected();

 private:
  WriteClient(BusHandle bus, const char* destination)
      : bus_(std::move(bus)), destination_(destination) {}

  BusHandle bus_;
  const char* destination_;  ///< the service's name, or null where there is only one peer
};

}  // namespace tagwriter::dbus

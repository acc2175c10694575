// The server end of a method whose request and reply are dictionaries.
#pragma once

#include <systemd/sd-bus.h>

#include <functional>
#include <memory>

#include "base/unique_fd.h"
#include "protocol/value_dictionary.h"

namespace tagwriter::dbus {

/// Whether the reply that is about to be sent is the last. Asked after each request.
using IsLast = std::function<bool()>;

/// A method that takes a{sv} and returns a{sv}.
struct DictionaryMethod {
  const char* object;
  const char* interface;
  const char* method;
  /// Returns the reply. The data and descriptors of the request are valid until it returns.
  std::function<ValueDictionary(const ValueDictionary& request)> handler;
  IsLast isLast = {};  ///< empty: none is
  /// For createTruncationConnection of the request, with the sender's name, which is null on a
  /// private connection. May be empty.
  std::function<std::unique_ptr<TruncationConnection>(int endpoint, const char* sender)> connector =
      {};
  int (*addProperties)(sd_bus* bus) = nullptr;  ///< as in ServedMethod
};

/// Serves `method` on `socket`, which it takes over, until the peer hangs up. A request that does
/// not decode and a reply that does not fit into a message are answered with an error. Before a
/// last reply, the socket is closed for further requests, so that the peer knows of a later one
/// that it was not taken; those that were sent before are answered. Returns 0 when the peer has
/// hung up or after the last reply, and a negative errno when the connection failed.
int serveDictionaries(UniqueFd socket, const DictionaryMethod& method);

}  // namespace tagwriter::dbus

#include "transport/dbus/dictionary_server.h"

#include <sys/socket.h>

#include <utility>

#include "transport/dbus/dictionary_codec.h"
#include "transport/dbus/handles.h"
#include "transport/dbus/peer_server.h"

namespace tagwriter::dbus {
namespace {

ValueDictionary::TruncationConnector connectorFor(sd_bus_message* call,
                                                  const DictionaryMethod& method) {
  if (!method.connector) return {};
  // The front on the bus forwards each call with its sender.
  return [&method, sender = sd_bus_message_get_sender(call)](int endpoint) {
    return method.connector(endpoint, sender);
  };
}

int sendReply(sd_bus_message* reply, bool isLast) {
  sd_bus* bus = sd_bus_message_get_bus(reply);
  if (isLast) ::shutdown(sd_bus_get_fd(bus), SHUT_RD);
  int r = sd_bus_message_send(reply);
  if (r < 0) return r;
  // The connection ends once all requests are read, whether or not the replies are sent.
  if (isLast && (r = sd_bus_flush(bus)) < 0) return r;
  return 1;
}

int answer(sd_bus_message* call, sd_bus_error* error, const DictionaryMethod& method) {
  ValueDictionary request(connectorFor(call, method));
  if (readDictionary(call, request) < 0) {
    return sd_bus_error_set(error, SD_BUS_ERROR_INVALID_ARGS, "The request does not decode");
  }
  sd_bus_message* raw = nullptr;
  int r = sd_bus_message_new_method_return(call, &raw);
  if (r < 0) return r;
  const MessageHandle message(raw);
  if ((r = appendDictionary(raw, method.handler(request))) < 0) return r;
  return sendReply(raw, method.isLast && method.isLast());
}

}  // namespace

int serveDictionaries(UniqueFd socket, const DictionaryMethod& method) {
  return servePeer(std::move(socket), {method.object, method.interface, method.method,
                                       [&method](sd_bus_message* call, sd_bus_error* error) {
                                         return answer(call, error, method);
                                       },
                                       method.addProperties});
}

}  // namespace tagwriter::dbus

#include "transport/dbus/write_server.h"

#include <sys/socket.h>

#include <utility>

#include "protocol/keys.h"
#include "protocol/value_dictionary.h"
#include "transport/dbus/dictionary_codec.h"
#include "transport/dbus/handles.h"
#include "transport/dbus/names.h"
#include "transport/dbus/peer_server.h"
#include "transport/dbus/truncation_client.h"

namespace tagwriter::dbus {
namespace {

int answerWrite(sd_bus_message* call, sd_bus_error* error, const RequestHandler& handler,
                SilentPlayers& players) {
  // The front on the bus forwards each call with its sender.
  ValueDictionary request([&players, player = sd_bus_message_get_sender(call)](int endpoint) {
    return connectForTruncation(endpoint, players, player);
  });
  if (readDictionary(call, request) < 0) {
    return sd_bus_error_set(error, SD_BUS_ERROR_INVALID_ARGS, "The request does not decode");
  }

  ValueDictionary reply;
  const auto path = request.values().find(key::kPath);
  if (path != request.values().end() && request.getString(key::kPath)) {
    reply.set(key::kPath, path->second);
  }
  const Answer answer = handler(request);
  reply.set(key::kResult, answer.result);
  if (answer.incomplete) reply.set(key::kIncomplete, true);

  sd_bus_message* raw = nullptr;
  int r = sd_bus_message_new_method_return(call, &raw);
  if (r < 0) return r;
  const MessageHandle message(raw);
  if ((r = appendDictionary(raw, reply)) < 0) return r;
  sd_bus* bus = sd_bus_message_get_bus(call);
  if (answer.isLast) ::shutdown(sd_bus_get_fd(bus), SHUT_RD);
  if ((r = sd_bus_message_send(raw)) < 0) return r;
  // The connection ends once all requests are read, whether or not the replies are sent.
  if (answer.isLast && (r = sd_bus_flush(bus)) < 0) return r;
  return 1;
}

}  // namespace

int serveWrites(UniqueFd socket, const RequestHandler& handler) {
  SilentPlayers players;
  return servePeer(std::move(socket), {kWriteObject, kWriteInterface, kWriteMethod,
                                       [&](sd_bus_message* call, sd_bus_error* error) {
                                         return answerWrite(call, error, handler, players);
                                       }});
}

}  // namespace tagwriter::dbus

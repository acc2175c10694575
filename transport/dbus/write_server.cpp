#include "transport/dbus/write_server.h"

#include <utility>

#include "protocol/keys.h"
#include "transport/dbus/names.h"
#include "transport/dbus/truncation_client.h"
#include "transport/dbus/write_properties.h"

namespace tagwriter::dbus {

int serveWrites(UniqueFd socket, const RequestHandler& handler, const IsLast& isLast) {
  SilentPlayers players;
  const auto answerWrite = [&handler](const ValueDictionary& request) {
    ValueDictionary reply;
    const auto path = request.values().find(key::kPath);
    if (path != request.values().end() && request.getString(key::kPath)) {
      reply.set(key::kPath, path->second);
    }
    const Answer answer = handler(request);
    reply.set(key::kResult, answer.result);
    if (answer.incomplete) reply.set(key::kIncomplete, true);
    return reply;
  };
  const auto connect = [&players](int endpoint, const char* player) {
    return connectForTruncation(endpoint, players, player);
  };
  return serveDictionaries(std::move(socket), {kWriteObject, kWriteInterface, kWriteMethod,
                                               answerWrite, isLast, connect, addWriteProperties});
}

}  // namespace tagwriter::dbus

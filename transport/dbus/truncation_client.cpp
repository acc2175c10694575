#include "transport/dbus/truncation_client.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "base/unique_fd.h"
#include "protocol/keys.h"
#include "protocol/value_dictionary.h"
#include "transport/dbus/call.h"
#include "transport/dbus/dictionary_codec.h"
#include "transport/dbus/names.h"
#include "transport/dbus/peer_connection.h"

namespace tagwriter::dbus {
namespace {

class TruncationClient final : public TruncationConnection {
 public:
  TruncationClient(UniqueFd socket, SilentPlayers& players, const char* player)
      : socket_(std::move(socket)), players_(players), player_(player) {}

  std::optional<std::string> truncate(int fd, std::uint64_t size) override {
    if (broken_) return broken_;
    const Deadline deadline = Deadline::in(players_.limitFor(player_));
    const int r = bus_ ? 0 : joinPeer(std::move(socket_), deadline, bus_);
    std::optional<std::string> error = r < 0 ? breakWith(r) : call(fd, size, deadline);
    if (!error) players_.remove(player_);
    return error;
  }

 private:
  std::string breakWith(int r) {
    if (r == -ETIMEDOUT) players_.add(player_);
    return broken_.emplace(std::strerror(-r));
  }

  std::optional<std::string> call(int fd, std::uint64_t size, const Deadline& deadline) {
    ValueDictionary request;
    request.set(key::kFd, BorrowedFd{fd});
    request.set(key::kTruncateSize, size);

    sd_bus_message* raw = nullptr;
    int r = sd_bus_message_new_method_call(bus_.get(), &raw, nullptr, kTruncationObject,
                                           kTruncationInterface, kTruncateMethod);
    if (r < 0) return std::strerror(-r);
    const MessageHandle message(raw);
    if ((r = appendDictionary(raw, request)) < 0) return std::strerror(-r);

    MessageHandle reply;
    if ((r = callAndWait(bus_.get(), raw, {deadline}, reply)) < 0) return breakWith(r);
    if (const sd_bus_error* error = sd_bus_message_get_error(reply.get())) {
      std::string description = error->message ? error->message : error->name;
      if (sd_bus_is_open(bus_.get()) <= 0) broken_ = description;
      return description;
    }
    // The contents do not matter, but it must be a dictionary.
    if (sd_bus_message_has_signature(reply.get(), kDictionarySignature) <= 0) {
      return "the reply is not a dictionary";
    }
    return std::nullopt;
  }

  UniqueFd socket_;
  SilentPlayers& players_;
  const char* player_;
  BusHandle bus_;
  std::optional<std::string> broken_;
};

}  // namespace

std::unique_ptr<TruncationConnection> connectForTruncation(int endpoint, SilentPlayers& players,
                                                           const char* player) {
  if (!isPeerSocket(endpoint)) return nullptr;
  UniqueFd socket = duplicateFd(endpoint);
  if (!socket) return nullptr;
  return std::make_unique<TruncationClient>(std::move(socket), players, player);
}

}  // namespace tagwriter::dbus

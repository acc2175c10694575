#include "transport/dbus/truncation_client.h"

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

constexpr std::chrono::seconds kTimeLimit(10);

class TruncationClient final : public TruncationConnection {
 public:
  explicit TruncationClient(UniqueFd socket) : socket_(std::move(socket)) {}

  std::optional<std::string> truncate(int fd, std::uint64_t size) override {
    if (broken_) return broken_;
    const Deadline deadline = Deadline::in(kTimeLimit);
    if (!bus_) {
      const int r = joinPeer(std::move(socket_), deadline, bus_);
      if (r < 0) return broken_ = std::strerror(-r);
    }
    return call(fd, size, deadline);
  }

 private:
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
    if ((r = callAndWait(bus_.get(), raw, deadline, reply)) < 0) {
      return broken_ = std::strerror(-r);
    }
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
  BusHandle bus_;
  std::optional<std::string> broken_;
};

}  // namespace

std::unique_ptr<TruncationConnection> connectForTruncation(int endpoint) {
  if (!isPeerSocket(endpoint)) return nullptr;
  UniqueFd socket = duplicateFd(endpoint);
  if (!socket) return nullptr;
  return std::make_unique<TruncationClient>(std::move(socket));
}

}  // namespace tagwriter::dbus

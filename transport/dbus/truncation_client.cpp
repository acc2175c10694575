#include "transport/dbus/truncation_client.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "protocol/keys.h"
#include "protocol/unique_fd.h"
#include "protocol/value_dictionary.h"
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

    const std::uint64_t left = deadline.microsecondsLeft();
    if (left == 0) return broken_ = std::strerror(ETIMEDOUT);
    BusError error;
    sd_bus_message* rawReply = nullptr;
    r = sd_bus_call(bus_.get(), raw, left, error.out(), &rawReply);
    const MessageHandle reply(rawReply);
    if (r < 0) return describe(r, error, deadline);
    // Any dictionary will do, but a dictionary it must be.
    if (sd_bus_message_has_signature(rawReply, kDictionarySignature) <= 0) {
      return "the reply is not a dictionary";
    }
    return std::nullopt;
  }

  /// By the number alone an answered error cannot be told from silence: it may be called a timeout.
  std::string describe(int r, const BusError& error, const Deadline& deadline) {
    std::string description = error.message() ? error.message() : std::strerror(-r);
    const bool silent = deadline.microsecondsLeft() == 0;
    if (silent || sd_bus_is_open(bus_.get()) <= 0) broken_ = description;
    return description;
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

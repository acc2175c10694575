#include "transport/dbus/write_client.h"

#include <cstdint>
#include <cstring>
#include <utility>

#include "protocol/keys.h"
#include "transport/dbus/dictionary_codec.h"
#include "transport/dbus/names.h"
#include "transport/dbus/peer_connection.h"

namespace tagwriter::dbus {
namespace {

CallError localError(int r) {
  return {"", std::strerror(-r)};
}

}  // namespace

bool CallError::serviceUnavailable() const {
  return name == SD_BUS_ERROR_SERVICE_UNKNOWN || name == SD_BUS_ERROR_NAME_HAS_NO_OWNER ||
         name.starts_with("org.freedesktop.DBus.Error.Spawn.");
}

std::unique_ptr<WriteClient> WriteClient::join(UniqueFd socket, std::chrono::microseconds limit,
                                               std::string& error) {
  BusHandle bus;
  const int r = joinPeer(std::move(socket), Deadline::in(limit), bus);
  if (r < 0) {
    error = std::strerror(-r);
    return nullptr;
  }
  return std::unique_ptr<WriteClient>(new WriteClient(std::move(bus), nullptr));
}

std::unique_ptr<WriteClient> WriteClient::openSessionBus(std::string& error) {
  sd_bus* raw = nullptr;
  const int r = sd_bus_open_user(&raw);
  if (r < 0) {
    error = std::strerror(-r);
    return nullptr;
  }
  return std::unique_ptr<WriteClient>(new WriteClient(BusHandle(raw), kBusName));
}

bool WriteClient::connected() {
  // A hang-up between two calls shows only when somebody looks.
  while (sd_bus_process(bus_.get(), nullptr) > 0) {
  }
  return sd_bus_is_open(bus_.get()) > 0;
}

std::variant<bool, CallError> WriteClient::write(const ValueDictionary& request) {
  sd_bus_message* raw = nullptr;
  int r = sd_bus_message_new_method_call(bus_.get(), &raw, destination_, kWriteObject,
                                         kWriteInterface, kWriteMethod);
  if (r < 0) return localError(r);
  const MessageHandle message(raw);
  if ((r = appendDictionary(raw, request)) < 0) return localError(r);

  BusError error;
  sd_bus_message* rawReply = nullptr;
  r = sd_bus_call(bus_.get(), raw, UINT64_MAX, error.out(), &rawReply);
  const MessageHandle reply(rawReply);
  if (r < 0) {
    if (!error.isSet()) return localError(r);
    return CallError{error.name(), error.message() ? error.message() : error.name()};
  }
  ValueDictionary answer;
  if ((r = readDictionary(rawReply, answer)) < 0) return localError(r);
  return answer.getBool(key::kResult);
}

}  // namespace tagwriter::dbus

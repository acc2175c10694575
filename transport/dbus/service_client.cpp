#include "transport/dbus/service_client.h"

#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include "protocol/keys.h"
#include "transport/dbus/call.h"
#include "transport/dbus/dictionary_codec.h"
#include "transport/dbus/names.h"
#include "transport/dbus/peer_connection.h"

namespace tagwriter::dbus {
namespace {

using Kind = CallError::Kind;

CallError localError(Kind kind, int r) {
  return {kind, std::strerror(-r)};
}

/// Whether the bus could not start the service.
bool saysUnavailable(std::string_view errorName) {
  return errorName == SD_BUS_ERROR_SERVICE_UNKNOWN || errorName == SD_BUS_ERROR_NAME_HAS_NO_OWNER ||
         errorName.starts_with("org.freedesktop.DBus.Error.Spawn.");
}

CallError remoteError(const sd_bus_error& error) {
  return {saysUnavailable(error.name) ? Kind::kNotDelivered : Kind::kNoAnswer,
          error.message ? error.message : error.name};
}

}  // namespace

std::unique_ptr<ServiceClient> ServiceClient::join(UniqueFd socket, std::chrono::microseconds limit,
                                                   std::string& error) {
  BusHandle bus;
  const int r = joinPeer(std::move(socket), Deadline::in(limit), bus);
  if (r < 0) {
    error = std::strerror(-r);
    return nullptr;
  }
  return std::unique_ptr<ServiceClient>(new ServiceClient(std::move(bus), nullptr));
}

std::unique_ptr<ServiceClient> ServiceClient::openSessionBus(std::string& error) {
  sd_bus* raw = nullptr;
  const int r = sd_bus_open_user(&raw);
  if (r < 0) {
    error = r == -ENOMEDIUM ? "DBUS_SESSION_BUS_ADDRESS is not set" : std::strerror(-r);
    return nullptr;
  }
  return std::unique_ptr<ServiceClient>(new ServiceClient(BusHandle(raw), kBusName));
}

bool ServiceClient::connected() {
  // A hang-up between two calls is noticed only when we process messages.
  while (sd_bus_process(bus_.get(), nullptr) > 0) {
  }
  return sd_bus_is_open(bus_.get()) > 0;
}

std::variant<Answer, CallError> ServiceClient::write(const ValueDictionary& request,
                                                     const Waiting& waiting) {
  auto result = call(kWriteObject, kWriteInterface, kWriteMethod, request, waiting);
  if (auto* error = std::get_if<CallError>(&result)) return std::move(*error);
  const ValueDictionary& answer = std::get<Reply>(result).values;
  return Answer{answer.getBool(key::kResult), answer.getBool(key::kIncomplete)};
}

std::variant<Reply, CallError> ServiceClient::read(const ValueDictionary& request,
                                                   const Waiting& waiting) {
  return call(kReadObject, kReadInterface, kReadMethod, request, waiting);
}

std::variant<Reply, CallError> ServiceClient::call(const char* object, const char* interface,
                                                   const char* method,
                                                   const ValueDictionary& request,
                                                   const Waiting& waiting) {
  sd_bus_message* raw = nullptr;
  int r = sd_bus_message_new_method_call(bus_.get(), &raw, destination_, object, interface, method);
  if (r < 0) return localError(Kind::kNotDelivered, r);
  const MessageHandle message(raw);
  if ((r = appendDictionary(raw, request)) < 0) {
    return localError(r == -EINVAL ? Kind::kNotEncodable : Kind::kNotDelivered, r);
  }
  Reply reply;
  bool isSent = false;
  r = callAndWait(bus_.get(), raw, waiting, reply.message, &isSent);
  if (!isSent) return localError(Kind::kNotDelivered, r < 0 ? r : -ECONNRESET);
  if (r < 0) return localError(r == -ETIMEDOUT ? Kind::kTimedOut : Kind::kNoAnswer, r);
  if (const sd_bus_error* error = sd_bus_message_get_error(reply.message.get())) {
    return remoteError(*error);
  }
  if ((r = readDictionary(reply.message.get(), reply.values)) < 0) {
    return localError(Kind::kNoAnswer, r);
  }
  return reply;
}

}  // namespace tagwriter::dbus

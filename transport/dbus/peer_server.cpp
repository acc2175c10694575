#include "transport/dbus/peer_server.h"

#include <poll.h>
#include <systemd/sd-id128.h>

#include <cerrno>
#include <cstdint>
#include <utility>

#include "transport/dbus/handles.h"
#include "transport/dbus/names.h"
#include "transport/dbus/peer_connection.h"

namespace tagwriter::dbus {
namespace {

// noexcept: an exception escaping into sd-bus would leave the connection stuck.
int answerCall(sd_bus_message* call, void* userdata, sd_bus_error* error) noexcept {
  if (sd_bus_message_get_expect_reply(call) <= 0) return 1;
  return static_cast<const ServedMethod*>(userdata)->handler(call, error);
}

/// sd-bus allows 90 seconds for the handshake; a player may start it later than that.
int waitForFirstByte(int fd) {
  pollfd waiting = {fd, POLLIN, 0};
  while (::poll(&waiting, 1, -1) < 0) {
    if (errno != EINTR) return -errno;
  }
  return 0;
}

int prepareServer(UniqueFd socket, BusHandle& bus) {
  int r = newConnection(std::move(socket), bus);
  if (r < 0) return r;
  sd_id128_t id;
  if ((r = sd_id128_randomize(&id)) < 0) return r;
  return sd_bus_set_server(bus.get(), 1, id);
}

/// Serves until an error, which includes the peer hanging up.
int process(sd_bus* bus) {
  int r = 0;
  while (r >= 0 || r == -EINTR) {
    r = sd_bus_process(bus, nullptr);
    if (r == 0) r = sd_bus_wait(bus, UINT64_MAX);
  }
  return r;
}

}  // namespace

void prepareToServe() {
  sd_id128_t machine;
  sd_id128_get_machine(&machine);  // sd-bus answers GetMachineId with it, and keeps it
}

PeerServer::PeerServer(ServedMethod method)
    : method_(std::move(method)),
      vtable_{
          SD_BUS_VTABLE_START(0),
          SD_BUS_METHOD_WITH_NAMES(method_.method, kDictionarySignature, SD_BUS_PARAM(request),
                                   kDictionarySignature, SD_BUS_PARAM(reply), answerCall,
                                   SD_BUS_VTABLE_UNPRIVILEGED),
          SD_BUS_VTABLE_END,
      } {}

int PeerServer::start(UniqueFd socket) {
  int r = prepareServer(std::move(socket), bus_);
  if (r < 0) return r;
  r = sd_bus_add_object_vtable(bus_.get(), nullptr, method_.object, method_.interface,
                               vtable_.data(), &method_);
  if (r >= 0 && method_.addProperties) r = method_.addProperties(bus_.get());
  return r < 0 ? r : sd_bus_start(bus_.get());
}

int servePeer(UniqueFd socket, const ServedMethod& method) {
  int r = waitForFirstByte(socket.get());
  if (r < 0) return r;
  PeerServer server(method);
  r = server.start(std::move(socket));
  if (r >= 0) r = process(server.bus());
  return r == -ECONNRESET || r == -ENOTCONN ? 0 : r;
}

}  // namespace tagwriter::dbus

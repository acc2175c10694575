#include "transport/dbus/peer_connection.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

#include "transport/dbus/call.h"

namespace tagwriter::dbus {
namespace {

/// Runs the handshake to its end; sd-bus's own timeouts do not cover it.
int waitUntilReady(sd_bus* bus, const Deadline& deadline) {
  while (true) {
    int r = sd_bus_is_ready(bus);
    if (r != 0) return std::min(r, 0);
    if ((r = sd_bus_process(bus, nullptr)) < 0) return r;
    if (r > 0) continue;
    const std::uint64_t left = deadline.microsecondsLeft();
    if (left == 0) return -ETIMEDOUT;
    if ((r = sd_bus_wait(bus, left)) < 0 && r != -EINTR) return r;
  }
}

int ping(sd_bus* bus, const Deadline& deadline) {
  sd_bus_message* raw = nullptr;
  int r =
      sd_bus_message_new_method_call(bus, &raw, nullptr, "/", "org.freedesktop.DBus.Peer", "Ping");
  if (r < 0) return r;
  const MessageHandle message(raw);
  // An error counts as a reply: not every peer implements Ping.
  MessageHandle reply;
  if ((r = callAndWait(bus, message.get(), {deadline}, reply)) < 0) return r;
  return sd_bus_is_open(bus) > 0 ? 0 : -ECONNRESET;
}

}  // namespace

SocketPair makeSocketPair() {
  int ends[2] = {-1, -1};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return {};
  return {aboveStandardStreams(UniqueFd(ends[0])), aboveStandardStreams(UniqueFd(ends[1]))};
}

bool isPeerSocket(int fd) {
  int domain = 0;
  int type = 0;
  socklen_t size = sizeof(int);
  if (::getsockopt(fd, SOL_SOCKET, SO_DOMAIN, &domain, &size) != 0) return false;
  size = sizeof(int);
  if (::getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) != 0) return false;
  return domain == AF_UNIX && type == SOCK_STREAM;
}

std::uint64_t Deadline::microsecondsLeft() const {
  if (!end_) return UINT64_MAX;
  const auto left =
      std::chrono::duration_cast<std::chrono::microseconds>(*end_ - Clock::now()).count();
  return left > 0 ? static_cast<std::uint64_t>(left) : 0;
}

int newConnection(UniqueFd socket, BusHandle& bus) {
  sd_bus* raw = nullptr;
  int r = sd_bus_new(&raw);
  if (r < 0) return r;
  bus.reset(raw);
  if ((r = sd_bus_set_fd(raw, socket.get(), socket.get())) < 0) return r;
  (void)socket.release();  // now owned by the connection
  return std::min(sd_bus_negotiate_fds(raw, 1), 0);
}

int startJoining(UniqueFd socket, BusHandle& bus) {
  const int r = newConnection(std::move(socket), bus);
  return r < 0 ? r : std::min(sd_bus_start(bus.get()), 0);
}

int joinPeer(UniqueFd socket, const Deadline& deadline, BusHandle& bus) {
  BusHandle joined;
  int r = startJoining(std::move(socket), joined);
  if (r < 0) return r;
  if ((r = waitUntilReady(joined.get(), deadline)) < 0) return r;
  if ((r = ping(joined.get(), deadline)) < 0) return r;
  bus = std::move(joined);
  return 0;
}

}  // namespace tagwriter::dbus

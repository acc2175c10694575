// A peer-to-peer D-Bus connection: two processes on a socketpair, without a bus daemon.
#pragma once

#include <chrono>
#include <optional>

#include "base/unique_fd.h"
#include "transport/dbus/handles.h"

namespace tagwriter::dbus {

/// Two connected sockets, both close-on-exec.
struct SocketPair {
  UniqueFd ours;
  UniqueFd theirs;
};

/// Creates a socketpair for a D-Bus connection. Both ends are empty on failure, with errno set.
SocketPair makeSocketPair();

/// Whether `fd` is a local stream socket, as a peer connection requires.
bool isPeerSocket(int fd);

/// A point in time, or never.
class Deadline {
 public:
  static Deadline never() { return Deadline(); }
  static Deadline in(std::chrono::microseconds span) { return Deadline(Clock::now() + span); }
  static Deadline at(std::chrono::steady_clock::time_point end) { return Deadline(end); }

  /// Microseconds left: 0 when it has passed, UINT64_MAX for never, as sd-bus expects.
  std::uint64_t microsecondsLeft() const;
  bool hasPassed() const { return microsecondsLeft() == 0; }

 private:
  using Clock = std::chrono::steady_clock;
  Deadline() = default;
  explicit Deadline(Clock::time_point end) : end_(end) {}
  std::optional<Clock::time_point> end_;
};

/// Sets `bus` to a connection on `socket`, which it takes over, that can carry descriptors and has
/// not been started. Returns 0 or a negative errno.
int newConnection(UniqueFd socket, BusHandle& bus);

/// Starts to connect as the client on `socket`, which it takes over, and does not wait. Sets `bus`
/// to a connection on which no message with a descriptor may be sent before a Ping has been
/// answered: see joinPeer. Returns 0 or a negative errno.
int startJoining(UniqueFd socket, BusHandle& bus);

/// Connects as the client on `socket`, which it takes over: handshake, then one Ping, because the
/// first message on a new connection must not carry a descriptor (it could arrive together with the
/// end of the handshake and break it). Sets `bus` and returns 0, or returns a negative errno
/// (-ETIMEDOUT when the deadline passes).
int joinPeer(UniqueFd socket, const Deadline& deadline, BusHandle& bus);

}  // namespace tagwriter::dbus

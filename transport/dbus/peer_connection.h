// A peer-to-peer connection: two processes at the ends of one socketpair, no bus in between.
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

/// Makes a socketpair fit for D-Bus. Both ends are empty on failure, with errno set.
SocketPair makeSocketPair();

/// Whether `fd` is a local stream socket, as a peer connection needs one.
bool isPeerSocket(int fd);

/// The end of a span of time, or no end at all.
class Deadline {
 public:
  static Deadline never() { return Deadline(); }
  static Deadline in(std::chrono::microseconds span) { return Deadline(Clock::now() + span); }

  /// Microseconds left, 0 when it has passed; UINT64_MAX without an end: what sd-bus takes.
  std::uint64_t microsecondsLeft() const;

 private:
  using Clock = std::chrono::steady_clock;
  Deadline() = default;
  explicit Deadline(Clock::time_point end) : end_(end) {}
  std::optional<Clock::time_point> end_;
};

/// Joins the peer connection on `socket` as its client: handshake, then one Ping, because the first
/// message on a fresh connection must not carry a descriptor (it could arrive together with the end
/// of the handshake and break it). Takes `socket` over. Fills `bus`; returns 0, or a negative errno
/// (-ETIMEDOUT when the deadline passes).
int joinPeer(UniqueFd socket, const Deadline& deadline, BusHandle& bus);

}  // namespace tagwriter::dbus

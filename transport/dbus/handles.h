// sd-bus objects with one owner.
#pragma once

#include <sys/socket.h>
#include <systemd/sd-bus.h>

#include <memory>

namespace tagwriter::dbus {

/// Closes a connection without waiting for what it still has to send.
struct BusCloser {
  void operator()(sd_bus* bus) const {
    // A forked child may hold the socket too, and the other end would not hear of the end.
    ::shutdown(sd_bus_get_fd(bus), SHUT_RDWR);
    sd_bus_close_unref(bus);
  }
};
/// Gives a reference to a message back.
struct MessageReleaser {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};

/// Takes a callback away from its connection.
struct SlotReleaser {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};

/// A connection, closed at the end of its life.
using BusHandle = std::unique_ptr<sd_bus, BusCloser>;
/// A reference to a message.
using MessageHandle = std::unique_ptr<sd_bus_message, MessageReleaser>;
/// A callback, no longer called at the end of its life.
using SlotHandle = std::unique_ptr<sd_bus_slot, SlotReleaser>;

}  // namespace tagwriter::dbus

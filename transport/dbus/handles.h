// Owning handles for sd-bus objects.
#pragma once

#include <sys/socket.h>
#include <systemd/sd-bus.h>

#include <memory>

namespace tagwriter::dbus {

/// Closes a connection without flushing its send queue.
struct BusCloser {
  void operator()(sd_bus* bus) const {
    // If a forked child holds the socket too, the other end would never see EOF.
    ::shutdown(sd_bus_get_fd(bus), SHUT_RDWR);
    sd_bus_close_unref(bus);
  }
};
/// Unrefs a message.
struct MessageUnref {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};

/// Removes a callback from its connection.
struct SlotUnref {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};

/// A connection, closed on destruction.
using BusHandle = std::unique_ptr<sd_bus, BusCloser>;
/// A reference to a message.
using MessageHandle = std::unique_ptr<sd_bus_message, MessageUnref>;
/// A callback, removed on destruction.
using SlotHandle = std::unique_ptr<sd_bus_slot, SlotUnref>;

}  // namespace tagwriter::dbus

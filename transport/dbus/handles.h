// sd-bus objects with one owner.
#pragma once

#include <systemd/sd-bus.h>

#include <memory>

namespace tagwriter::dbus {

struct BusCloser {
  void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
struct MessageReleaser {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};

/// A connection, closed at the end of its life.
using BusHandle = std::unique_ptr<sd_bus, BusCloser>;
/// A reference to a message.
using MessageHandle = std::unique_ptr<sd_bus_message, MessageReleaser>;

/// A D-Bus error, empty until a call fills it.
class BusError {
 public:
  BusError() = default;
  BusError(const BusError&) = delete;
  BusError& operator=(const BusError&) = delete;
  ~BusError() { sd_bus_error_free(&error_); }

  sd_bus_error* out() { return &error_; }
  bool isSet() const { return sd_bus_error_is_set(&error_) > 0; }
  const char* name() const { return error_.name; }
  const char* message() const { return error_.message; }

 private:
  sd_bus_error error_ = SD_BUS_ERROR_NULL;
};

}  // namespace tagwriter::dbus

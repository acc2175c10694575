// The properties of the interface to write: what a player may ask before its first request.
#pragma once

#include <systemd/sd-bus.h>

namespace tagwriter::dbus {

/// Adds to the interface to write of `bus`: Version (s), the version of the service, and Fields
/// (a{ss}), all keys of "track" with the D-Bus types of their values. Neither ever changes. Returns
/// a negative errno on failure.
int addWriteProperties(sd_bus* bus);

}  // namespace tagwriter::dbus

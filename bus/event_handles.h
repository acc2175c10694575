// Owning handles for sd-event objects.
#pragma once

#include <systemd/sd-event.h>

#include <memory>

namespace tagwriter::dbus {

/// Unrefs an event loop or one of its sources.
struct EventUnref {
  void operator()(sd_event* event) const { sd_event_unref(event); }
  void operator()(sd_event_source* source) const { sd_event_source_unref(source); }
};
using EventHandle = std::unique_ptr<sd_event, EventUnref>;
using EventSourceHandle = std::unique_ptr<sd_event_source, EventUnref>;

}  // namespace tagwriter::dbus

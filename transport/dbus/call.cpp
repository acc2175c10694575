#include "transport/dbus/call.h"

#include <cerrno>
#include <cstdint>

namespace tagwriter::dbus {
namespace {

int storeReply(sd_bus_message* message, void* reply, sd_bus_error*) noexcept {
  static_cast<MessageHandle*>(reply)->reset(sd_bus_message_ref(message));
  return 0;
}

}  // namespace

int callAndWait(sd_bus* bus, sd_bus_message* call, const Deadline& deadline, MessageHandle& reply) {
  sd_bus_slot* rawSlot = nullptr;
  // We enforce the deadline ourselves, to tell our timeout from a remote error of that name.
  int r = sd_bus_call_async(bus, &rawSlot, call, storeReply, &reply, UINT64_MAX);
  if (r < 0) return r;
  const SlotHandle slot(rawSlot);  // cancels the callback if we return without a reply

  while (!reply) {
    if ((r = sd_bus_process(bus, nullptr)) < 0 && r != -EINTR) return r;
    if (reply || r > 0) continue;
    const std::uint64_t left = deadline.microsecondsLeft();
    if (left == 0) return -ETIMEDOUT;
    if ((r = sd_bus_wait(bus, left)) < 0 && r != -EINTR) return r;
  }
  return 0;
}

}  // namespace tagwriter::dbus

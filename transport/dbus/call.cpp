#include "transport/dbus/call.h"

#include <cerrno>
#include <cstdint>

namespace tagwriter::dbus {
namespace {

struct PendingCall {
  sd_bus* bus = nullptr;
  MessageHandle& reply;
  bool isSent = false;
};

/// Also called when the connection ends, with an error that sd-bus makes up.
int storeReply(sd_bus_message* message, void* userdata, sd_bus_error*) noexcept {
  auto* call = static_cast<PendingCall*>(userdata);
  call->reply.reset(sd_bus_message_ref(message));
  std::uint64_t queued = 0;
  call->isSent = sd_bus_get_n_queued_write(call->bus, &queued) >= 0 && queued == 0;
  return 0;
}

int waitForReply(sd_bus* bus, const Deadline& deadline, const MessageHandle& reply) {
  while (!reply) {
    int r = sd_bus_process(bus, nullptr);
    if (r < 0 && r != -EINTR) return r;
    if (reply || r > 0) continue;
    const std::uint64_t left = deadline.microsecondsLeft();
    if (left == 0) return -ETIMEDOUT;
    if ((r = sd_bus_wait(bus, left)) < 0 && r != -EINTR) return r;
  }
  return 0;
}

}  // namespace

int callAndWait(sd_bus* bus, sd_bus_message* call, const Deadline& deadline, MessageHandle& reply,
                bool* isSent) {
  PendingCall pending = {bus, reply};
  sd_bus_slot* rawSlot = nullptr;
  // We enforce the deadline ourselves, to tell our timeout from a remote error of that name.
  int r = sd_bus_call_async(bus, &rawSlot, call, storeReply, &pending, UINT64_MAX);
  if (isSent) *isSent = r >= 0;
  if (r < 0) return r;
  const SlotHandle slot(rawSlot);  // cancels the callback if we return without a reply

  r = waitForReply(bus, deadline, reply);
  if (isSent && reply) *isSent = pending.isSent;
  return r;
}

}  // namespace tagwriter::dbus

#include "transport/dbus/call.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <vector>

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

/// Microseconds until `bus` wants to be processed whatever happens: UINT64_MAX for never.
std::uint64_t microsecondsUntilTimeout(sd_bus* bus) {
  std::uint64_t at = UINT64_MAX;
  if (sd_bus_get_timeout(bus, &at) <= 0 || at == UINT64_MAX) return UINT64_MAX;
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  const std::uint64_t time = static_cast<std::uint64_t>(now.tv_sec) * 1'000'000 +
                             static_cast<std::uint64_t>(now.tv_nsec) / 1000;
  return at > time ? at - time : 0;
}

int poll(std::vector<pollfd>& descriptors, std::uint64_t limit) {
  const timespec timeout = {static_cast<time_t>(limit / 1'000'000),
                            static_cast<long>(limit % 1'000'000 * 1000)};
  const int r = ::ppoll(descriptors.data(), descriptors.size(),
                        limit == UINT64_MAX ? nullptr : &timeout, nullptr);
  return r < 0 ? -errno : r;
}

/// Waits for the bus, at most `limit` microseconds, and serves `watches`. Returns a negative errno
/// on failure.
int waitAndServe(sd_bus* bus, std::uint64_t limit, const Watches& watches) {
  if (watches.empty()) return sd_bus_wait(bus, limit);
  const int fd = sd_bus_get_fd(bus);
  const int events = sd_bus_get_events(bus);
  if (fd < 0 || events < 0) return std::min(fd, events);
  std::vector<pollfd> descriptors = {{fd, static_cast<short>(events), 0}};
  for (const Watch* watch : watches) descriptors.push_back(watch->interest());
  const int r = poll(descriptors, std::min(limit, microsecondsUntilTimeout(bus)));
  for (std::size_t i = 0; r > 0 && i < watches.size(); ++i) {
    if (descriptors[i + 1].revents != 0) watches[i]->handle();
  }
  return r;
}

int waitForReply(sd_bus* bus, const Waiting& waiting, const MessageHandle& reply) {
  while (!reply) {
    int r = sd_bus_process(bus, nullptr);
    if (r < 0 && r != -EINTR) return r;
    if (reply || r > 0) continue;
    const std::uint64_t left = waiting.deadline.microsecondsLeft();
    if (left == 0) return -ETIMEDOUT;
    if ((r = waitAndServe(bus, left, waiting.watches)) < 0 && r != -EINTR) return r;
  }
  return 0;
}

}  // namespace

int callAndWait(sd_bus* bus, sd_bus_message* call, const Waiting& waiting, MessageHandle& reply,
                bool* isSent) {
  PendingCall pending = {bus, reply};
  sd_bus_slot* rawSlot = nullptr;
  // We enforce the deadline ourselves, to tell our timeout from a remote error of that name.
  int r = sd_bus_call_async(bus, &rawSlot, call, storeReply, &pending, UINT64_MAX);
  if (isSent) *isSent = r >= 0;
  if (r < 0) return r;
  const SlotHandle slot(rawSlot);  // cancels the callback if we return without a reply

  r = waitForReply(bus, waiting, reply);
  if (isSent && reply) *isSent = pending.isSent;
  return r;
}

}  // namespace tagwriter::dbus

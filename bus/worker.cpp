#include "bus/worker.h"

#include <poll.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <utility>

#include "transport/dbus/peer_connection.h"

namespace tagwriter::dbus {
namespace {

/// How often to look whether the worker makes progress, while it has a call.
constexpr std::uint64_t kLookEvery = 250'000;  // microseconds
constexpr char kLocalInterface[] = "org.freedesktop.DBus.Local";

/// Whether `message` is the reply to `call`, which was forwarded with the caller's serial number.
bool isReplyTo(sd_bus_message* message, sd_bus_message* call) {
  std::uint64_t replySerial = 0;
  std::uint64_t serial = 0;
  return call && sd_bus_message_get_reply_cookie(message, &replySerial) >= 0 &&
         sd_bus_message_get_cookie(call, &serial) >= 0 && replySerial == serial;
}

std::string describe(std::chrono::milliseconds time) {
  return std::to_string(std::chrono::duration_cast<std::chrono::seconds>(time).count()) + " s";
}

}  // namespace

Worker::Worker(WorkerProcess process, WorkerUser& user, std::chrono::milliseconds patience)
    : process_(std::move(process)), user_(user), patience_(patience), stall_(process_.pid()) {}

Worker::~Worker() = default;

std::unique_ptr<Worker> Worker::start(const std::string& program, sd_event* event, WorkerUser& user,
                                      std::chrono::milliseconds patience, std::string& error) {
  UniqueFd socket;
  auto process = WorkerProcess::start(program, socket, error);
  if (!process) return nullptr;
  std::unique_ptr<Worker> worker(new Worker(std::move(*process), user, patience));
  int r = worker->addSources(event);
  if (r >= 0) r = worker->connect(std::move(socket), event);
  if (r >= 0) return worker;
  error = std::strerror(-r);
  worker->process_.kill();
  return nullptr;
}

int Worker::addSources(sd_event* event) {
  sd_event_source* source = nullptr;
  int r = sd_event_add_time_relative(event, &source, CLOCK_MONOTONIC, kLookEvery, 0, onLook, this);
  if (r < 0) return r;
  lookTimer_.reset(source);
  // A reply that has arrived is read first, however late we look.
  if ((r = sd_event_source_set_priority(source, SD_EVENT_PRIORITY_IDLE)) < 0) return r;
  if ((r = sd_event_source_set_enabled(source, SD_EVENT_OFF)) < 0) return r;
  if ((r = sd_event_add_defer(event, &source, onGone, this)) < 0) return r;
  goneSource_.reset(source);
  return sd_event_source_set_enabled(source, SD_EVENT_OFF);
}

int Worker::connect(UniqueFd socket, sd_event* event) {
  int r = startJoining(std::move(socket), connection_);
  if (r < 0) return r;
  sd_bus* bus = connection_.get();
  // Our own patience decides, here as well.
  if ((r = sd_bus_set_method_call_timeout(bus, UINT64_MAX)) < 0) return r;
  if ((r = sd_bus_add_filter(bus, nullptr, onMessage, this)) < 0) return r;
  if ((r = sd_bus_attach_event(bus, event, SD_EVENT_PRIORITY_NORMAL)) < 0) return r;
  return sd_bus_call_method_async(bus, nullptr, nullptr, "/", "org.freedesktop.DBus.Peer", "Ping",
                                  onReady, this, nullptr);
}

int Worker::onReady(sd_bus_message*, void* worker, sd_bus_error*) noexcept {
  auto* self = static_cast<Worker*>(worker);
  if (sd_bus_is_open(self->connection_.get()) <= 0) return 1;  // onMessage hears of it
  self->ready_ = true;
  if (self->call_) self->send();
  return 1;
}

void Worker::process(sd_bus_message* call) {
  call_.reset(sd_bus_message_ref(call));
  stall_.restart();
  // A timer that still runs for an earlier call will do.
  if (sd_event_source_get_enabled(lookTimer_.get(), nullptr) == 0) lookLater();
  if (ready_) send();
}

/// Even if the event loop has not noticed yet.
bool Worker::hasHungUp() const {
  pollfd socket = {sd_bus_get_fd(connection_.get()), POLLIN, 0};
  return ::poll(&socket, 1, 0) > 0 && (socket.revents & (POLLHUP | POLLERR));
}

void Worker::send() {
  const int r = hasHungUp() ? -EPIPE : sd_bus_send(connection_.get(), call_.get(), nullptr);
  if (r >= 0) return;
  // A new worker that cannot be reached is no better the next time.
  fail(served_ ? WorkerEnd::kLeft : WorkerEnd::kGone, std::strerror(-r));
}

int Worker::onMessage(sd_bus_message* message, void* worker, sd_bus_error*) noexcept {
  static_cast<Worker*>(worker)->handleMessage(message);
  return 0;
}

void Worker::handleMessage(sd_bus_message* message) {
  if (sd_bus_message_is_signal(message, kLocalInterface, "Disconnected") > 0) {
    if (end_ == WorkerEnd::kGone) fail(WorkerEnd::kGone, "it ended before it answered");
  } else if (ready_ && isReplyTo(message, call_.get())) {
    call_.reset();
    served_ = true;
    user_.workerReplied(message);
  }
}

void Worker::fail(WorkerEnd end, std::string reason) {
  end_ = end;
  reason_ = std::move(reason);
  // Deferred: the connection must not be destroyed inside its own callback.
  sd_event_source_set_enabled(goneSource_.get(), SD_EVENT_ONESHOT);
}

int Worker::onGone(sd_event_source*, void* worker) noexcept {
  auto* self = static_cast<Worker*>(worker);
  self->process_.kill();  // it may not exit otherwise, and it has no caller any more
  const std::string reason = std::move(self->reason_);
  self->user_.workerFailed(self->end_, reason);
  return 0;
}

int Worker::onLook(sd_event_source*, std::uint64_t, void* worker) noexcept {
  static_cast<Worker*>(worker)->look();
  return 0;
}

void Worker::lookLater() {
  sd_event_source_set_time_relative(lookTimer_.get(), kLookEvery);
  sd_event_source_set_enabled(lookTimer_.get(), SD_EVENT_ONESHOT);
}

void Worker::look() {
  if (!call_) return;
  if (stall_.stalledFor() < patience_) {
    lookLater();
  } else {
    const std::string reason = "it made no progress for " + describe(patience_);
    std::fprintf(stderr, "tagwriter-bus: the worker is killed: %s\n", reason.c_str());
    fail(WorkerEnd::kStalled, reason);
  }
}

void Worker::setPatience(std::chrono::milliseconds patience) {
  patience_ = patience;
  stall_.restart();
}

}  // namespace tagwriter::dbus

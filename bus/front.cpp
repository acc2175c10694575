#include "bus/front.h"

#include <sys/signalfd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "transport/dbus/names.h"
#include "transport/dbus/write_properties.h"

namespace tagwriter::dbus {
namespace {

/// A session that ends does not wait long for a worker that makes no progress.
constexpr std::chrono::seconds kPatienceWhenQuitting(4);
/// Each queued call holds two descriptors, and a process may have as few as 1024; it may also hold
/// a cover of several megabytes. The bus daemon has room for more.
constexpr std::size_t kMaxQueued = 64;
constexpr char kBusDaemon[] = "org.freedesktop.DBus";
constexpr std::uint32_t kNameExists = 3;  ///< RequestName's reply when another process owns it

}  // namespace

Front::Front(std::string workerProgram, std::chrono::seconds idleLimit,
             std::chrono::seconds patience)
    : workerProgram_(std::move(workerProgram)), idleLimit_(idleLimit), patience_(patience) {}

Front::~Front() = default;

int Front::run() {
  int r = prepare();
  if (r < 0) return r;
  if ((r = connectToBus()) < 0) return r;
  r = sd_event_loop(event_.get());
  if (r > 0) r = -ENOTCONN;  // sd-bus exits the loop with 1 when the bus disconnects
  if (bus_) sd_bus_flush(bus_.get());
  return r;
}

int Front::prepare() {
  sd_event* event = nullptr;
  int r = sd_event_new(&event);
  if (r < 0) return r;
  event_.reset(event);

  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  if (::sigprocmask(SIG_BLOCK, &signals, nullptr) < 0) return -errno;
  for (const int number : {SIGTERM, SIGINT}) {
    if ((r = sd_event_add_signal(event, nullptr, number, onSignal, this)) < 0) return r;
  }

  sd_event_source* source = nullptr;
  const auto idle = static_cast<std::uint64_t>(idleLimit_.count());
  r = sd_event_add_time_relative(event, &source, CLOCK_MONOTONIC, idle, 0, onIdle, this);
  if (r < 0) return r;
  idleTimer_.reset(source);
  return 0;
}

int Front::connectToBus() {
  static constexpr sd_bus_vtable kVtable[] = {
      SD_BUS_VTABLE_START(0),
      SD_BUS_METHOD_WITH_NAMES(kWriteMethod, kDictionarySignature, SD_BUS_PARAM(request),
                               kDictionarySignature, SD_BUS_PARAM(reply), onWrite,
                               SD_BUS_VTABLE_UNPRIVILEGED),
      SD_BUS_VTABLE_END,
  };
  sd_bus* bus = nullptr;
  int r = sd_bus_open_user(&bus);
  if (r < 0) return r;
  bus_.reset(bus);
  if ((r = sd_bus_set_exit_on_disconnect(bus, 1)) < 0) return r;
  if ((r = sd_bus_attach_event(bus, event_.get(), SD_EVENT_PRIORITY_NORMAL)) < 0) return r;
  reading_ = true;
  r = sd_bus_add_object_vtable(bus, nullptr, kWriteObject, kWriteInterface, kVtable, this);
  if (r < 0) return r;
  if ((r = addWriteProperties(bus)) < 0) return r;
  r = sd_bus_match_signal(bus, nullptr, kBusDaemon, nullptr, kBusDaemon, "NameAcquired",
                          onNameAcquired, this);
  if (r < 0) return r;
  // No timeout: replies queue behind earlier calls, which may take long.
  if ((r = sd_bus_set_method_call_timeout(bus, UINT64_MAX)) < 0) return r;
  return requestName(0);
}

int Front::requestName(std::uint64_t flags) {
  // Asynchronous: the calls that activated us may arrive before RequestName's reply, and a blocking
  // call would read and queue them all.
  return sd_bus_request_name_async(bus_.get(), nullptr, kBusName, flags, onRequestNameReply, this);
}

int Front::onRequestNameReply(sd_bus_message* reply, void* front, sd_bus_error*) noexcept {
  static_cast<Front*>(front)->requestNameReplied(reply);
  return 1;
}

void Front::requestNameReplied(sd_bus_message* reply) {
  if (ownsName_) return;
  std::uint32_t code = 0;
  int r = -sd_bus_message_get_errno(reply);
  if (r == 0) r = std::min(sd_bus_message_read(reply, "u", &code), 0);
  if (r == 0 && code == kNameExists) r = -EEXIST;
  if (r < 0) sd_event_exit(event_.get(), r);
}

int Front::onNameAcquired(sd_bus_message* signal, void* front, sd_bus_error*) noexcept {
  const char* name = nullptr;
  if (sd_bus_message_read(signal, "s", &name) >= 0 && std::string_view(name) == kBusName) {
    static_cast<Front*>(front)->nameAcquired();
  }
  return 0;
}

void Front::nameAcquired() {
  ownsName_ = true;
  forwardNext();
  // Exit from a timer: inside this callback the connection processes no further messages.
  if (quitting_) sd_event_source_set_time_relative(idleTimer_.get(), 0);
}

int Front::onWrite(sd_bus_message* call, void* front, sd_bus_error*) noexcept {
  static_cast<Front*>(front)->enqueue(call);
  return 1;
}

void Front::enqueue(sd_bus_message* call) {
  // Calls that expect no reply are ignored.
  if (sd_bus_message_get_expect_reply(call) <= 0) return;
  queue_.emplace_back(sd_bus_message_ref(call));
  forwardNext();
}

void Front::forwardNext() {
  // After a disconnect nobody would receive the result.
  while (ownsName_ && !current_ && !queue_.empty() && sd_bus_is_open(bus_.get()) > 0) {
    current_ = std::move(queue_.front());
    queue_.pop_front();
    forwardCurrent();
  }
  restartIdleTimer();
  updateReading();
}

void Front::updateReading() {
  sd_bus* bus = bus_.get();
  // Without the name, or after a disconnect, keep reading: that is how NameAcquired and the
  // disconnect itself arrive.
  const bool read = !ownsName_ || queue_.size() < kMaxQueued || sd_bus_is_open(bus) <= 0;
  if (read == reading_) return;
  if (read) {
    reading_ = sd_bus_attach_event(bus, event_.get(), SD_EVENT_PRIORITY_NORMAL) >= 0;
  } else {
    sd_bus_flush(bus);  // nothing is sent while detached
    reading_ = sd_bus_detach_event(bus) < 0;
  }
}

void Front::forwardCurrent() {
  std::string error;
  if (!worker_) worker_ = Worker::start(workerProgram_, event_.get(), *this, patience_, error);
  if (worker_) {
    worker_->process(current_.get());
  } else {
    failCurrent(error);
  }
}

void Front::workerReplied(sd_bus_message* reply) {
  sd_bus_send(bus_.get(), reply, nullptr);
  current_.reset();
  forwardNext();
  exitWhenIdle();
}

void Front::failCurrent(const std::string& reason) {
  sd_bus_reply_method_errorf(current_.get(), SD_BUS_ERROR_NO_REPLY, "The worker is gone: %s",
                             reason.c_str());
  current_.reset();
}

void Front::workerFailed(WorkerEnd end, const std::string& reason) {
  worker_.reset();
  if (current_ && end != WorkerEnd::kLeft) failCurrent(reason);
  if (quitting_ && end == WorkerEnd::kStalled && std::exchange(stalledWhileQuitting_, true)) {
    sd_event_exit(event_.get(), 0);  // the bus replies with NoReply to the callers that wait
    return;
  }
  if (current_) forwardCurrent();
  forwardNext();
  exitWhenIdle();
}

void Front::restartIdleTimer() {
  sd_event_source_set_time_relative(idleTimer_.get(),
                                    static_cast<std::uint64_t>(idleLimit_.count()));
  sd_event_source_set_enabled(idleTimer_.get(), SD_EVENT_ONESHOT);
}

int Front::onIdle(sd_event_source*, std::uint64_t, void* front) noexcept {
  auto* self = static_cast<Front*>(front);
  if (self->busy()) {
    self->restartIdleTimer();
  } else {
    self->quit();
  }
  return 0;
}

int Front::onSignal(sd_event_source*, const signalfd_siginfo*, void* front) noexcept {
  static_cast<Front*>(front)->quit();
  return 0;
}

void Front::quit() {
  if (!quitting_) {
    patience_ = std::min<std::chrono::milliseconds>(patience_, kPatienceWhenQuitting);
    if (worker_) worker_->setPatience(patience_);
  }
  quitting_ = true;
  exitWhenIdle();
}

void Front::exitWhenIdle() {
  // Keep the name while there is work, or a successor would write to files at the same time.
  if (!quitting_ || !ownsName_) return;
  // Drain pending messages first; ReleaseName blocks and would queue all of them.
  while (!busy() && sd_bus_process(bus_.get(), nullptr) > 0) {
  }
  if (busy()) return;
  ownsName_ = false;
  sd_bus_release_name(bus_.get(), kBusName);
  // Every request that the bus routed here before it released the name arrives before that reply.
  while (sd_bus_process(bus_.get(), nullptr) > 0) {
  }
  if (busy()) {
    // Process them once we own the name again: at once, or after a successor has released it.
    requestName(SD_BUS_NAME_QUEUE);
  } else {
    sd_event_exit(event_.get(), 0);
  }
}

}  // namespace tagwriter::dbus

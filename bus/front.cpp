#include "bus/front.h"

#include <poll.h>
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
#include "transport/dbus/peer_connection.h"

namespace tagwriter::dbus {
namespace {

constexpr std::chrono::seconds kWorkerStartLimit(30);
/// How many calls may wait here. Each holds two descriptors, of which a process may have a thousand
/// or a few, and perhaps a cover of some megabytes. The bus daemon has room for more.
constexpr std::size_t kMostWaiting = 64;
constexpr char kBusDaemon[] = "org.freedesktop.DBus";
constexpr std::uint32_t kNameExists = 3;  ///< the answer that the name is somebody else's
constexpr char kLocalInterface[] = "org.freedesktop.DBus.Local";

/// Whether `message` answers `call`: the worker saw the call with the caller's own serial number.
bool answers(sd_bus_message* message, sd_bus_message* call) {
  std::uint64_t answered = 0;
  std::uint64_t asked = 0;
  return call && sd_bus_message_get_reply_cookie(message, &answered) >= 0 &&
         sd_bus_message_get_cookie(call, &asked) >= 0 && answered == asked;
}

/// Whether the other end is gone, also when the event loop does not know it yet.
bool hasHungUp(sd_bus* connection) {
  pollfd socket = {sd_bus_get_fd(connection), POLLIN, 0};
  return ::poll(&socket, 1, 0) > 0 && (socket.revents & (POLLHUP | POLLERR));
}

}  // namespace

Front::Front(std::string workerProgram, std::chrono::microseconds idleLimit)
    : workerProgram_(std::move(workerProgram)), idleLimit_(idleLimit) {}

Front::~Front() = default;

int Front::run() {
  int r = prepare();
  if (r < 0) return r;
  if ((r = connectToBus()) < 0) return r;
  r = sd_event_loop(event_.get());
  if (r > 0) r = -ENOTCONN;  // what sd-bus leaves the loop with when the bus is gone
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
  if ((r = sd_event_add_defer(event, &source, onWorkerGone, this)) < 0) return r;
  workerGone_.reset(source);
  return sd_event_source_set_enabled(source, SD_EVENT_OFF);
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
  r = sd_bus_match_signal(bus, nullptr, kBusDaemon, nullptr, kBusDaemon, "NameAcquired", onNamed,
                          this);
  if (r < 0) return r;
  // Answers stand behind all calls that have come before them, and those may take their time.
  if ((r = sd_bus_set_method_call_timeout(bus, UINT64_MAX)) < 0) return r;
  return askForName(0);
}

int Front::askForName(std::uint64_t flags) {
  // Not a call that waits: with the name come the calls for which we were started, before the
  // answer, and it would take them all in.
  return sd_bus_request_name_async(bus_.get(), nullptr, kBusName, flags, onNameAnswer, this);
}

int Front::onNameAnswer(sd_bus_message* answer, void* front, sd_bus_error*) noexcept {
  static_cast<Front*>(front)->nameAnswered(answer);
  return 1;
}

void Front::nameAnswered(sd_bus_message* answer) {
  if (named_) return;
  std::uint32_t how = 0;
  int r = -sd_bus_message_get_errno(answer);
  if (r == 0) r = std::min(sd_bus_message_read(answer, "u", &how), 0);
  if (r == 0 && how == kNameExists) r = -EEXIST;
  if (r < 0) sd_event_exit(event_.get(), r);
}

int Front::onNamed(sd_bus_message* signal, void* front, sd_bus_error*) noexcept {
  const char* name = nullptr;
  if (sd_bus_message_read(signal, "s", &name) >= 0 && std::string_view(name) == kBusName) {
    static_cast<Front*>(front)->named();
  }
  return 0;
}

void Front::named() {
  named_ = true;
  forwardNext();
  // Not here: inside its callback the connection processes no further messages.
  if (leaving_) sd_event_source_set_time_relative(idleTimer_.get(), 0);
}

int Front::startWorker(std::string& error) {
  UniqueFd socket;
  auto process = WorkerProcess::start(workerProgram_, socket, error);
  if (!process) return -ENOENT;
  BusHandle connection;
  int r = joinPeer(std::move(socket), Deadline::in(kWorkerStartLimit), connection);
  if (r >= 0) r = sd_bus_add_filter(connection.get(), nullptr, onWorkerMessage, this);
  if (r >= 0) r = sd_bus_attach_event(connection.get(), event_.get(), SD_EVENT_PRIORITY_NORMAL);
  if (r < 0) {
    error = std::strerror(-r);
    connection.reset();
    process->kill();  // it has no work, and need not notice that we are gone
    return r;
  }
  worker_.emplace(Worker{std::move(*process), std::move(connection)});
  return 0;
}

int Front::onWrite(sd_bus_message* call, void* front, sd_bus_error*) noexcept {
  static_cast<Front*>(front)->takeCall(call);
  return 1;
}

void Front::takeCall(sd_bus_message* call) {
  // A request that wants no reply gets no work.
  if (sd_bus_message_get_expect_reply(call) <= 0) return;
  waiting_.emplace_back(sd_bus_message_ref(call));
  forwardNext();
}

void Front::forwardNext() {
  // Without the bus nobody is left who would hear of a result.
  while (named_ && !inHand_ && !waiting_.empty() && sd_bus_is_open(bus_.get()) > 0) {
    inHand_ = std::move(waiting_.front());
    waiting_.pop_front();
    if (worker_ && hasHungUp(worker_->connection.get())) worker_.reset();
    std::string error;
    int r = worker_ ? 0 : startWorker(error);
    if (r >= 0) r = forward(inHand_.get());
    if (r < 0) failInHand(error.empty() ? std::strerror(-r) : error);
  }
  restartIdleTimer();
  readOrPause();
}

void Front::readOrPause() {
  sd_bus* bus = bus_.get();
  // Without the name nothing more comes until it is ours, and only reading tells when it is. That
  // the bus is gone is to be read as well.
  const bool read = !named_ || waiting_.size() < kMostWaiting || sd_bus_is_open(bus) <= 0;
  if (read == reading_) return;
  if (read) {
    reading_ = sd_bus_attach_event(bus, event_.get(), SD_EVENT_PRIORITY_NORMAL) >= 0;
  } else {
    sd_bus_flush(bus);  // what is still to be sent, nobody sends during the pause
    reading_ = sd_bus_detach_event(bus) < 0;
  }
}

int Front::forward(sd_bus_message* call) {
  return sd_bus_send(worker_->connection.get(), call, nullptr);
}

int Front::onWorkerMessage(sd_bus_message* message, void* front, sd_bus_error*) noexcept {
  static_cast<Front*>(front)->takeWorkerMessage(message);
  return 0;
}

void Front::takeWorkerMessage(sd_bus_message* message) {
  if (sd_bus_message_is_signal(message, kLocalInterface, "Disconnected") > 0) {
    // The connection cannot go away inside its own callback.
    sd_event_source_set_enabled(workerGone_.get(), SD_EVENT_ONESHOT);
    return;
  }
  if (!answers(message, inHand_.get())) return;
  sd_bus_send(bus_.get(), message, nullptr);
  inHand_.reset();
  forwardNext();
  exitWhenDone();
}

void Front::failInHand(const std::string& reason) {
  sd_bus_reply_method_errorf(inHand_.get(), SD_BUS_ERROR_NO_REPLY, "The worker is gone: %s",
                             reason.c_str());
  inHand_.reset();
}

int Front::onWorkerGone(sd_event_source*, void* front) noexcept {
  static_cast<Front*>(front)->workerGone();
  return 0;
}

void Front::workerGone() {
  worker_.reset();
  if (inHand_) failInHand("it ended before it answered");
  forwardNext();
  exitWhenDone();
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
    self->leave();
  }
  return 0;
}

int Front::onSignal(sd_event_source*, const signalfd_siginfo*, void* front) noexcept {
  static_cast<Front*>(front)->leave();
  return 0;
}

void Front::leave() {
  leaving_ = true;
  exitWhenDone();
}

void Front::exitWhenDone() {
  // The name is kept as long as there is work, or a successor would write beside us.
  if (!leaving_ || !named_) return;
  // What lies in wait is work too; the release would take it all in, however much it is.
  while (!busy() && sd_bus_process(bus_.get(), nullptr) > 0) {
  }
  if (busy()) return;
  named_ = false;
  sd_bus_release_name(bus_.get(), kBusName);
  // Every request that the bus routed here before the name was gone has arrived by the time of the
  // release's reply, and waits to be processed.
  while (sd_bus_process(bus_.get(), nullptr) > 0) {
  }
  if (busy()) {
    // Such a request has its turn when the name is ours again: at once, or behind a successor.
    askForName(SD_BUS_NAME_QUEUE);
  } else {
    sd_event_exit(event_.get(), 0);
  }
}

}  // namespace tagwriter::dbus

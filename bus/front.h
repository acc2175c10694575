// The front on the session bus: it owns the name, and a worker does the work.
//
// The process that parses audio files holds no connection to the bus, because through one it could
// start programs outside any sandbox. So each Write call goes, unparsed and with its descriptors,
// over a socketpair to a worker, one at a time in the order of arrival. The worker's reply goes
// back to the caller as it is: both messages carry the caller's name and serial number.
//
// Behind the call that the worker has, only so many wait here; the rest waits in the bus daemon,
// which has the room for it.
#pragma once

#include <systemd/sd-event.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>

#include "transport/dbus/handles.h"
#include "transport/dbus/worker_process.h"

namespace tagwriter::dbus {

struct EventReleaser {
  void operator()(sd_event* event) const { sd_event_unref(event); }
  void operator()(sd_event_source* source) const { sd_event_source_unref(source); }
};
using EventHandle = std::unique_ptr<sd_event, EventReleaser>;
using EventSourceHandle = std::unique_ptr<sd_event_source, EventReleaser>;

/// Serves Write on the session bus until it has been idle for a while or is asked to leave.
class Front {
 public:
  /// `workerProgram` is started at the first request, and again at the next one after its death.
  Front(std::string workerProgram, std::chrono::microseconds idleLimit);
  ~Front();
  Front(const Front&) = delete;
  Front& operator=(const Front&) = delete;

  /// Connects to the session bus, takes the name and serves. SIGTERM and SIGINT make it leave as
  /// idleness does: no request that has reached it is lost. Returns 0, or a negative errno when
  /// there is no bus, the name is taken or the bus goes away.
  int run();

 private:
  struct Worker {
    // In this order: the connection closes first, then the process is waited for.
    WorkerProcess process;
    BusHandle connection;
  };

  // Callbacks of the event loop; each hands over to the member below it.
  static int onWrite(sd_bus_message* call, void* front, sd_bus_error* error) noexcept;
  static int onNameAnswer(sd_bus_message* answer, void* front, sd_bus_error* error) noexcept;
  static int onNamed(sd_bus_message* signal, void* front, sd_bus_error* error) noexcept;
  static int onWorkerMessage(sd_bus_message* message, void* front, sd_bus_error* error) noexcept;
  static int onWorkerGone(sd_event_source* source, void* front) noexcept;
  static int onIdle(sd_event_source* source, std::uint64_t now, void* front) noexcept;
  static int onSignal(sd_event_source* source, const signalfd_siginfo* info, void* front) noexcept;

  int prepare();
  int connectToBus();
  int askForName(std::uint64_t flags);
  void nameAnswered(sd_bus_message* answer);
  void named();
  int startWorker(std::string& error);

  void takeCall(sd_bus_message* call);
  void forwardNext();
  int forward(sd_bus_message* call);
  void readOrPause();
  void takeWorkerMessage(sd_bus_message* message);
  void failInHand(const std::string& reason);
  void workerGone();

  bool busy() const { return inHand_ || !waiting_.empty(); }
  void restartIdleTimer();
  void leave();
  void exitWhenDone();

  std::string workerProgram_;
  std::chrono::microseconds idleLimit_;
  EventHandle event_;
  BusHandle bus_;
  EventSourceHandle idleTimer_;
  EventSourceHandle workerGone_;
  std::optional<Worker> worker_;
  MessageHandle inHand_;               ///< the call that the worker has
  std::deque<MessageHandle> waiting_;  ///< the calls behind it
  bool named_ = false;                 ///< without the name nothing is forwarded
  bool reading_ = false;               ///< whether the event loop has the connection to the bus
  bool leaving_ = false;
};

}  // namespace tagwriter::dbus

// The front on the session bus: owns the bus name and forwards requests to a worker.
//
// The process that parses audio files has no bus connection, because it could use one to start
// programs outside any sandbox. So each Write call is forwarded, unparsed and with its descriptors,
// over a socketpair to a worker, one at a time in order of arrival. The worker's reply is returned
// to the caller unchanged: both messages carry the caller's name and serial number.
//
// The queue here is bounded; further calls wait in the bus daemon, which has room for them.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>

#include "bus/event_handles.h"
#include "bus/worker.h"
#include "transport/dbus/handles.h"

namespace tagwriter::dbus {

/// Serves Write on the session bus until it has been idle for a while or receives SIGTERM.
class Front final : private WorkerUser {
 public:
  /// `workerProgram` is the path of tagwriterd. It is started on the first request, and restarted
  /// on the next request after it has died. It is killed if it has a request but makes no progress
  /// for `patience`. `idleLimit` is how long to wait for a request before exit.
  Front(std::string workerProgram, std::chrono::seconds idleLimit, std::chrono::seconds patience);
  ~Front() override;
  Front(const Front&) = delete;
  Front& operator=(const Front&) = delete;

  /// Connects to the session bus, acquires the name and serves. Blocks SIGTERM and SIGINT, which
  /// make it exit as idling does: requests that have reached it are processed first, but a worker
  /// that makes no progress is killed after 4 seconds, and if that happens again, the front exits
  /// at once. Returns 0, or a negative errno if there is no bus, the name is taken or the bus
  /// disconnects.
  int run();

 private:
  // Event loop callbacks; each forwards to a member function.
  static int onWrite(sd_bus_message* call, void* front, sd_bus_error* error) noexcept;
  static int onRequestNameReply(sd_bus_message* reply, void* front, sd_bus_error* error) noexcept;
  static int onNameAcquired(sd_bus_message* signal, void* front, sd_bus_error* error) noexcept;
  static int onIdle(sd_event_source* source, std::uint64_t now, void* front) noexcept;
  static int onSignal(sd_event_source* source, const signalfd_siginfo* info, void* front) noexcept;

  int prepare();
  int connectToBus();
  int requestName(std::uint64_t flags);
  void requestNameReplied(sd_bus_message* reply);
  void nameAcquired();

  void workerReplied(sd_bus_message* reply) override;
  void workerFailed(WorkerEnd end, const std::string& reason) override;

  void enqueue(sd_bus_message* call);
  void forwardNext();
  void forwardCurrent();
  void updateReading();
  void failCurrent(const std::string& reason);

  bool busy() const { return current_ || !queue_.empty(); }
  void restartIdleTimer();
  void quit();
  void exitWhenIdle();

  std::string workerProgram_;
  std::chrono::microseconds idleLimit_;
  std::chrono::milliseconds patience_;  ///< with a worker that makes no progress
  EventHandle event_;
  BusHandle bus_;
  EventSourceHandle idleTimer_;
  std::unique_ptr<Worker> worker_;
  MessageHandle current_;            ///< the call that the worker is processing
  std::deque<MessageHandle> queue_;  ///< the calls waiting for it
  bool ownsName_ = false;            ///< nothing is forwarded without it
  bool reading_ = false;             ///< whether the event loop reads from the bus
  bool quitting_ = false;
  bool stalledWhileQuitting_ = false;
};

}  // namespace tagwriter::dbus

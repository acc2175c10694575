// The worker behind the front: a tagwriterd that processes one call at a time, and is watched.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "bus/event_handles.h"
#include "transport/dbus/handles.h"
#include "transport/dbus/stall_clock.h"
#include "transport/dbus/worker_process.h"

namespace tagwriter::dbus {

/// How a worker ended.
enum class WorkerEnd {
  kGone,     ///< it exited, or cannot be used
  kLeft,     ///< it exited between two calls: another worker can process the call that it has
  kStalled,  ///< it made no progress and was killed
};

/// Receives the results of a worker's calls: the front. May destroy the worker in `workerFailed`
/// only.
class WorkerUser {
 public:
  virtual ~WorkerUser() = default;
  /// The reply to the call, as the worker sent it.
  virtual void workerReplied(sd_bus_message* reply) = 0;
  /// The worker ended, for this reason. It may have had a call.
  virtual void workerFailed(WorkerEnd end, const std::string& reason) = 0;
};

/// A worker process and the connection to it. Nothing here waits: it runs on the event loop.
class Worker {
 public:
  /// Starts `program`, and returns at once; its first call waits until it is ready. A worker that
  /// has a call but makes no progress for `patience` is killed. Returns null on failure, with a
  /// message in `error`.
  static std::unique_ptr<Worker> start(const std::string& program, sd_event* event,
                                       WorkerUser& user, std::chrono::milliseconds patience,
                                       std::string& error);
  /// Hangs up, and waits for the process as ~WorkerProcess does.
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  /// Sends `call`, unparsed and with its descriptors. One call at a time: `workerReplied` or
  /// `workerFailed` follows, later.
  void process(sd_bus_message* call);

  /// Changes the patience, which starts again from now.
  void setPatience(std::chrono::milliseconds patience);

 private:
  Worker(WorkerProcess process, WorkerUser& user, std::chrono::milliseconds patience);

  static int onReady(sd_bus_message* reply, void* worker, sd_bus_error* error) noexcept;
  static int onMessage(sd_bus_message* message, void* worker, sd_bus_error* error) noexcept;
  static int onGone(sd_event_source* source, void* worker) noexcept;
  static int onLook(sd_event_source* source, std::uint64_t now, void* worker) noexcept;

  int connect(UniqueFd socket, sd_event* event);
  int addSources(sd_event* event);
  bool hasHungUp() const;
  void send();
  void handleMessage(sd_bus_message* message);
  void fail(WorkerEnd end, std::string reason);
  void look();
  void lookLater();

  // Destroyed in reverse order: closing the connection makes the process exit, then we wait for it.
  WorkerProcess process_;
  BusHandle connection_;
  EventSourceHandle goneSource_;
  EventSourceHandle lookTimer_;
  WorkerUser& user_;
  std::chrono::milliseconds patience_;
  StallClock stall_;
  WorkerEnd end_ = WorkerEnd::kGone;
  std::string reason_;  ///< why it ended
  MessageHandle call_;
  bool ready_ = false;   ///< whether a message may carry descriptors
  bool served_ = false;  ///< whether it has replied to a call
};

}  // namespace tagwriter::dbus

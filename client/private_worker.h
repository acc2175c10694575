// A worker process of the player's own: tagwriterd or tagreaderd.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "client/log_pipe.h"
#include "client/stall_guard.h"
#include "protocol/value_dictionary.h"
#include "transport/dbus/service_client.h"
#include "transport/dbus/worker_process.h"

namespace tagwriter {

/// Starts the worker at the first call, and again if it has exited.
class PrivateWorker {
 public:
  /// `name` is kWriterProgram or kReaderProgram. `program` is the path of the program; if empty, it
  /// is searched for (findWorkerProgram).
  PrivateWorker(const char* name, std::string program)
      : name_(name), program_(std::move(program)) {}

  const std::string& program() const { return program_; }

  /// Until when the calls that follow wait. A worker that has not replied by then is killed.
  void setDeadline(const dbus::Deadline& deadline) { deadline_ = deadline; }

  /// One of ServiceClient's calls.
  template <typename Reply>
  using Call = std::variant<Reply, dbus::CallError> (dbus::ServiceClient::*)(
      const ValueDictionary& request, const dbus::Waiting& waiting);

  /// Makes the call `method`, and serves `watches` while it waits. A request that the worker did
  /// not take is sent once more, to a new one. Returns the reply, or why there is none:
  /// kNotDelivered also if the worker cannot be started, or not before the deadline.
  template <typename Reply>
  std::variant<Reply, dbus::CallError> call(Call<Reply> method, const ValueDictionary& request,
                                            dbus::Watches watches = {}) {
    watches.push_back(&log_);
    auto reply = callOnce(method, request, watches);
    const auto* failure = std::get_if<dbus::CallError>(&reply);
    // A worker that has taken its last request may not have exited yet.
    if (client_ && failure && failure->kind == dbus::CallError::Kind::kNotDelivered) {
      reply = callOnce(method, request, watches);
    }
    return reply;
  }

  /// Takes what the worker has reported since the last time (LogPipe).
  std::string takeLog() { return log_.take(); }

  /// Hangs up on a worker that does not answer a call, as StallGuard does. From any thread.
  void hangUpIfStalled(std::chrono::milliseconds limit) { guard_.hangUpIfStalled(limit); }

 private:
  template <typename Reply>
  std::variant<Reply, dbus::CallError> callOnce(Call<Reply> method, const ValueDictionary& request,
                                                const dbus::Watches& watches) {
    using Kind = dbus::CallError::Kind;
    const StallGuard::Wait wait(guard_);
    std::string error;
    if (!connect(error) || deadline_.hasPassed())
      return dbus::CallError{Kind::kNotDelivered, error};
    auto reply = (client_.get()->*method)(request, {deadline_, watches});
    if (const auto* failure = std::get_if<dbus::CallError>(&reply)) endIfLost(failure->kind);
    return reply;
  }

  bool connect(std::string& error);
  bool start(std::string& error);
  void endIfLost(dbus::CallError::Kind failure);

  const char* name_;
  std::string program_;
  dbus::Deadline deadline_ = dbus::Deadline::never();
  StallGuard guard_;
  LogPipe log_;
  // The order matters: the connection closes first, then the worker is waited for.
  std::optional<dbus::WorkerProcess> worker_;
  std::unique_ptr<dbus::ServiceClient> client_;
};

}  // namespace tagwriter

// A worker process of the player's own: tagwriterd or tagreaderd.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>

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

  /// One of ServiceClient's calls.
  template <typename Reply>
  using Call = std::variant<Reply, dbus::CallError> (dbus::ServiceClient::*)(
      const ValueDictionary& request, const dbus::Waiting& waiting);

  /// Makes the call `method`, and waits as `waiting` says. A request that the worker did not
  /// take is sent once more, to a new one. Returns the reply, or why there is none: kNotDelivered
  /// also if the worker cannot be started.
  template <typename Reply>
  std::variant<Reply, dbus::CallError> call(Call<Reply> method, const ValueDictionary& request,
                                            const dbus::Waiting& waiting = {}) {
    auto reply = callOnce(method, request, waiting);
    const auto* failure = std::get_if<dbus::CallError>(&reply);
    // A worker that has taken its last request may not have exited yet.
    if (client_ && failure && failure->kind == dbus::CallError::Kind::kNotDelivered) {
      reply = callOnce(method, request, waiting);
    }
    return reply;
  }

 private:
  template <typename Reply>
  std::variant<Reply, dbus::CallError> callOnce(Call<Reply> method, const ValueDictionary& request,
                                                const dbus::Waiting& waiting) {
    std::string error;
    if (!connect(error)) return dbus::CallError{dbus::CallError::Kind::kNotDelivered, error};
    return (client_.get()->*method)(request, waiting);
  }

  bool connect(std::string& error);
  bool start(std::string& error);

  const char* name_;
  std::string program_;
  // The order matters: the connection closes first, then the worker is waited for.
  std::optional<dbus::WorkerProcess> worker_;
  std::unique_ptr<dbus::ServiceClient> client_;
};

}  // namespace tagwriter

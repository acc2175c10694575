// The connection to the service: a private worker process, or the session bus.
#pragma once

#include <memory>
#include <string>
#include <variant>

#include "client/tag_writer.h"
#include "protocol/value_dictionary.h"
#include "transport/dbus/worker_process.h"
#include "transport/dbus/write_client.h"

namespace tagwriter {

/// Connects at the first request, and reconnects if the service has exited.
class TagWriter::Connection {
 public:
  /// Starts `workerProgram` as the worker; if empty, searches for tagwriterd (findWorkerProgram).
  static std::unique_ptr<Connection> embedded(std::string workerProgram);
  /// Uses the service on the session bus.
  static std::unique_ptr<Connection> onSessionBus();

  /// Sends `request` for the open file `fd` (borrowed) with the name `path`, truncates the file
  /// when the service asks for it, and waits for the answer. Returns kWritten, kRefused,
  /// kIncomplete, kNoAnswer, kInvalidText or kServiceUnavailable.
  Outcome send(int fd, const std::string& path, ValueDictionary request);

 private:
  explicit Connection(std::string workerProgram, bool onBus)
      : workerProgram_(std::move(workerProgram)), onBus_(onBus) {}

  bool connect(std::string& error);
  std::variant<Answer, dbus::CallError> sendOnce(const ValueDictionary& request);
  bool startWorker(std::string& error);

  std::string workerProgram_;
  bool onBus_;
  // The order matters: the connection closes first, then the worker is waited for.
  std::optional<dbus::WorkerProcess> worker_;
  std::unique_ptr<dbus::WriteClient> client_;
};

}  // namespace tagwriter

// The way to the service: a worker process of one's own, or the session bus.
#pragma once

#include <memory>
#include <string>

#include "client/tag_writer.h"
#include "protocol/value_dictionary.h"
#include "transport/dbus/worker_process.h"
#include "transport/dbus/write_client.h"

namespace tagwriter {

/// Connects when the first request is sent, and anew after the service has gone away.
class TagWriter::Connection {
 public:
  /// A worker made from `workerProgram`; when empty it is looked for.
  static std::unique_ptr<Connection> embedded(std::string workerProgram);
  static std::unique_ptr<Connection> onSessionBus();

  /// Sends a request for the file behind `fd` (lent) called `path`, serves the truncations that it
  /// causes, and waits for the answer: kWritten, kRefused, kIncomplete, kNoAnswer, kInvalidText or
  /// kServiceUnavailable.
  Outcome send(int fd, const std::string& path, ValueDictionary request);

 private:
  explicit Connection(std::string workerProgram, bool onBus)
      : workerProgram_(std::move(workerProgram)), onBus_(onBus) {}

  bool connect(std::string& error);
  bool startWorker(std::string& error);

  std::string workerProgram_;
  bool onBus_;
  // In this order: the connection closes first, then the worker is waited for.
  std::optional<dbus::WorkerProcess> worker_;
  std::unique_ptr<dbus::WriteClient> client_;
};

}  // namespace tagwriter

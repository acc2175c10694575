// The connection to the service, a private worker process or the session bus; and a reader.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <variant>

#include "client/private_worker.h"
#include "client/reader.h"
#include "client/request_queue.h"
#include "client/stall_guard.h"
#include "client/tag_writer.h"
#include "protocol/value_dictionary.h"
#include "transport/dbus/truncation_server.h"

namespace tagwriter {

/// Connects at the first request, and reconnects if the service has exited.
class TagWriter::Connection {
 public:
  /// Starts `workerProgram` as the worker; if empty, searches for tagwriterd (findWorkerProgram).
  /// The reader is next to it, or is searched for in the same way.
  static std::unique_ptr<Connection> embedded(std::string workerProgram);
  /// Uses the service on the session bus.
  static std::unique_ptr<Connection> onSessionBus();
  /// Another connection of the same kind.
  std::unique_ptr<Connection> another() const;

  /// Sets the limits of the requests that follow: `options.stop` and `options.deadline`.
  void setLimits(const WriteOptions& options);
  /// Waits until the queue is empty, or until the deadline.
  void finishQueue();
  /// Returns kCancelled or kTimedOut if nothing more may be begun.
  Outcome checkLimits() const;

  /// Sends `request` for the open file `fd` (borrowed) with the name `path`, truncates the file
  /// when the service asks for it, and waits for the answer. Returns kWritten, kRefused,
  /// kIncomplete, kNoAnswer, kInvalidText, kServiceUnavailable, kCancelled or kTimedOut.
  Outcome send(int fd, const std::string& path, ValueDictionary request);

  /// Reads files for checks. Always a private process, also on the bus: it needs no right that this
  /// process does not have, and the service on the bus has other work.
  Reader& reader() { return reader_; }

  /// The requests that are made on another thread, over a connection of their own.
  RequestQueue& queue();

  /// Takes what the private workers have reported since the last time, as in Outcome::log.
  std::string takeLog() { return worker_.takeLog() + reader_.takeLog(); }

  /// Hangs up on a service or reader that does not answer, as StallGuard does. From any thread.
  void hangUpIfStalled(std::chrono::milliseconds limit);

 private:
  Connection(std::string workerProgram, std::string readerProgram, bool onBus)
      : onBus_(onBus),
        worker_(dbus::kWriterProgram, std::move(workerProgram)),
        reader_(std::move(readerProgram)) {}

  bool connectToBus(std::string& error);
  std::variant<Answer, dbus::CallError> call(const ValueDictionary& request);
  Outcome outcomeOf(const dbus::CallError& failure);

  bool onBus_;
  WriteOptions options_;  ///< of the current request
  dbus::Deadline deadline_ = dbus::Deadline::never();
  std::unique_ptr<dbus::ServiceClient> bus_;
  StallGuard busGuard_;
  PrivateWorker worker_;
  dbus::TruncationServer truncations_;
  Reader reader_;
  std::unique_ptr<RequestQueue> queue_;  ///< null until it is needed
};

}  // namespace tagwriter

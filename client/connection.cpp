#include "client/connection.h"

#include <unistd.h>

#include <filesystem>
#include <utility>

#include "client/outcome_details.h"
#include "protocol/keys.h"

namespace tagwriter {
namespace {

Outcome withTouchedFile(Outcome outcome) {
  outcome.details().touched = true;
  return outcome;
}

/// The path of the reader in the directory of `workerProgram`; empty if it is not there.
std::string readerNextTo(const std::string& workerProgram) {
  if (workerProgram.empty()) return {};
  std::string reader = std::filesystem::path(workerProgram).replace_filename(dbus::kReaderProgram);
  return ::access(reader.c_str(), X_OK) == 0 ? reader : std::string();
}

}  // namespace

std::unique_ptr<TagWriter::Connection> TagWriter::Connection::embedded(std::string workerProgram) {
  std::string reader = readerNextTo(workerProgram);
  return std::unique_ptr<Connection>(
      new Connection(std::move(workerProgram), std::move(reader), false));
}

std::unique_ptr<TagWriter::Connection> TagWriter::Connection::onSessionBus() {
  return std::unique_ptr<Connection>(new Connection({}, {}, true));
}

std::unique_ptr<TagWriter::Connection> TagWriter::Connection::another() const {
  return std::unique_ptr<Connection>(new Connection(worker_.program(), reader_.program(), onBus_));
}

void TagWriter::Connection::setLimits(const WriteOptions& options) {
  options_ = options;
  const bool hasDeadline = options.deadline != decltype(options.deadline)();
  deadline_ = hasDeadline ? dbus::Deadline::at(options.deadline) : dbus::Deadline::never();
  worker_.setDeadline(deadline_);
  reader_.setDeadline(deadline_);
}

Outcome TagWriter::Connection::checkLimits() const {
  if (options_.stop.stop_requested()) return Status::kCancelled;
  return deadline_.hasPassed() ? Status::kTimedOut : Status::kWritten;
}

RequestQueue& TagWriter::Connection::queue() {
  if (!queue_) queue_ = std::make_unique<RequestQueue>(TagWriter(another()));
  return *queue_;
}

void TagWriter::Connection::finishQueue() {
  if (queue_) queue_->waitUntilDone(options_.deadline);
}

void TagWriter::Connection::hangUpIfStalled(std::chrono::milliseconds limit) {
  worker_.hangUpIfStalled(limit);
  reader_.hangUpIfStalled(limit);
  busGuard_.hangUpIfStalled(limit);
}

bool TagWriter::Connection::connectToBus(std::string& error) {
  if (bus_ && bus_->connected()) return true;
  bus_ = dbus::ServiceClient::openSessionBus(error);
  if (!bus_) {
    error.insert(0, "session bus: ");
    return false;
  }
  busGuard_.watch(bus_->socket(), -1);
  return true;
}

std::variant<Answer, dbus::CallError> TagWriter::Connection::call(const ValueDictionary& request) {
  if (!onBus_) return worker_.call(&dbus::ServiceClient::write, request, {&truncations_});
  const StallGuard::Wait wait(busGuard_);
  std::string error;
  if (!connectToBus(error)) return dbus::CallError{dbus::CallError::Kind::kNotDelivered, error};
  return bus_->write(request, {deadline_, {&truncations_}});
}

Outcome TagWriter::Connection::send(int fd, const std::string& path, ValueDictionary request) {
  if (Outcome begins = checkLimits(); !begins) return begins;
  request.set(key::kFd, BorrowedFd{fd});
  request.set(key::kPath, ByteString{path});
  if (const int endpoint = truncations_.prepare(); endpoint >= 0) {
    request.set(key::kTruncateConnection, BorrowedFd{endpoint});
  }
  const auto reply = call(request);
  if (const auto* failure = std::get_if<dbus::CallError>(&reply)) return outcomeOf(*failure);
  const auto& answer = std::get<Answer>(reply);
  if (truncations_.failed()) {
    return withTouchedFile({Status::kIncomplete, "the file could not be truncated"});
  }
  if (answer.incomplete) return withTouchedFile({Status::kIncomplete, "a write failed"});
  return {answer.result ? Status::kWritten : Status::kRefused};
}

Outcome TagWriter::Connection::outcomeOf(const dbus::CallError& failure) {
  truncations_.reset();
  switch (failure.kind) {
    case dbus::CallError::Kind::kNotEncodable:
      return {Status::kInvalidText};
    case dbus::CallError::Kind::kNotDelivered:
      if (deadline_.hasPassed()) return {Status::kTimedOut};
      return {Status::kServiceUnavailable, failure.message};
    case dbus::CallError::Kind::kTimedOut:
      bus_.reset();  // the answer may still come
      return withTouchedFile({Status::kTimedOut, "while the service was at work"});
    case dbus::CallError::Kind::kNoAnswer:
      break;
  }
  return withTouchedFile({Status::kNoAnswer, failure.message});
}

}  // namespace tagwriter

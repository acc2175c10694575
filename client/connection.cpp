#include "client/connection.h"

#include <chrono>
#include <utility>

#include "protocol/keys.h"
#include "transport/dbus/truncation_server.h"

namespace tagwriter {
namespace {

constexpr std::chrono::seconds kStartLimit(30);

Outcome outcomeOf(const dbus::CallError& failure) {
  switch (failure.kind) {
    case dbus::CallError::Kind::kNotEncodable:
      return {Status::kInvalidText};
    case dbus::CallError::Kind::kNotDelivered:
      return {Status::kServiceUnavailable, failure.message};
    case dbus::CallError::Kind::kNoAnswer:
      break;
  }
  return {Status::kNoAnswer, failure.message};
}

bool isUndelivered(const std::variant<Answer, dbus::CallError>& reply) {
  const auto* failure = std::get_if<dbus::CallError>(&reply);
  return failure && failure->kind == dbus::CallError::Kind::kNotDelivered;
}

}  // namespace

std::unique_ptr<TagWriter::Connection> TagWriter::Connection::embedded(std::string workerProgram) {
  return std::unique_ptr<Connection>(new Connection(std::move(workerProgram), false));
}

std::unique_ptr<TagWriter::Connection> TagWriter::Connection::onSessionBus() {
  return std::unique_ptr<Connection>(new Connection({}, true));
}

bool TagWriter::Connection::startWorker(std::string& error) {
  const std::string program = workerProgram_.empty() ? dbus::findWorkerProgram() : workerProgram_;
  if (program.empty()) {
    error = "tagwriterd is neither next to this program nor in its libexec directory";
    return false;
  }
  UniqueFd socket;
  auto worker = dbus::WorkerProcess::start(program, socket, error);
  if (!worker) return false;
  client_ = dbus::WriteClient::join(std::move(socket), kStartLimit, error);
  if (!client_) {
    worker->kill();  // it may not exit when its socket closes
    return false;
  }
  worker_.emplace(std::move(*worker));
  return true;
}

bool TagWriter::Connection::connect(std::string& error) {
  if (client_ && client_->connected()) return true;
  client_.reset();
  worker_.reset();
  if (!onBus_) return startWorker(error);
  client_ = dbus::WriteClient::openSessionBus(error);
  if (!client_) error.insert(0, "session bus: ");
  return client_ != nullptr;
}

std::variant<Answer, dbus::CallError> TagWriter::Connection::sendOnce(
    const ValueDictionary& request) {
  std::string error;
  if (!connect(error)) return dbus::CallError{dbus::CallError::Kind::kNotDelivered, error};
  return client_->write(request);
}

Outcome TagWriter::Connection::send(int fd, const std::string& path, ValueDictionary request) {
  const dbus::TruncationServer truncations;
  request.set(key::kFd, BorrowedFd{fd});
  request.set(key::kPath, ByteString{path});
  if (truncations.endpoint() >= 0) {
    request.set(key::kTruncateConnection, BorrowedFd{truncations.endpoint()});
  }
  auto reply = sendOnce(request);
  // A worker that has taken its last request may not have exited yet.
  if (!onBus_ && client_ && isUndelivered(reply)) reply = sendOnce(request);
  if (const auto* failure = std::get_if<dbus::CallError>(&reply)) return outcomeOf(*failure);
  const auto& answer = std::get<Answer>(reply);
  if (truncations.failed()) return {Status::kIncomplete, "the file could not be truncated"};
  if (answer.incomplete) return {Status::kIncomplete, "a write failed"};
  return {answer.result ? Status::kWritten : Status::kRefused};
}

}  // namespace tagwriter

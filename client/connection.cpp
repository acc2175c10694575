#include "client/connection.h"

#include <unistd.h>

#include <filesystem>
#include <utility>

#include "protocol/keys.h"

namespace tagwriter {
namespace {

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

bool TagWriter::Connection::connectToBus(std::string& error) {
  if (bus_ && bus_->connected()) return true;
  bus_ = dbus::ServiceClient::openSessionBus(error);
  if (!bus_) error.insert(0, "session bus: ");
  return bus_ != nullptr;
}

std::variant<Answer, dbus::CallError> TagWriter::Connection::call(const ValueDictionary& request) {
  if (!onBus_)
    return worker_.call(&dbus::ServiceClient::write, request, {.watches = {&truncations_}});
  std::string error;
  if (!connectToBus(error)) return dbus::CallError{dbus::CallError::Kind::kNotDelivered, error};
  return bus_->write(request, {.watches = {&truncations_}});
}

Outcome TagWriter::Connection::send(int fd, const std::string& path, ValueDictionary request) {
  request.set(key::kFd, BorrowedFd{fd});
  request.set(key::kPath, ByteString{path});
  if (const int endpoint = truncations_.prepare(); endpoint >= 0) {
    request.set(key::kTruncateConnection, BorrowedFd{endpoint});
  }
  const auto reply = call(request);
  if (const auto* failure = std::get_if<dbus::CallError>(&reply)) {
    truncations_.reset();
    return outcomeOf(*failure);
  }
  const auto& answer = std::get<Answer>(reply);
  if (truncations_.failed()) return {Status::kIncomplete, "the file could not be truncated"};
  if (answer.incomplete) return {Status::kIncomplete, "a write failed"};
  return {answer.result ? Status::kWritten : Status::kRefused};
}

}  // namespace tagwriter

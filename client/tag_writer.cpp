#include "client/tag_writer.h"

#include <chrono>
#include <utility>

#include "client/worker_process.h"
#include "protocol/keys.h"
#include "transport/dbus/truncation_server.h"
#include "transport/dbus/write_client.h"

namespace tagwriter {
namespace {

constexpr std::chrono::seconds kStartLimit(30);

}  // namespace

struct TagWriter::Connection {
  // In this order: the connection closes first, then the worker is waited for.
  WorkerProcess worker;
  std::unique_ptr<dbus::WriteClient> client;
};

TagWriter::TagWriter(std::string workerProgram) : workerProgram_(std::move(workerProgram)) {}

TagWriter::~TagWriter() = default;

bool TagWriter::connect(std::string& error) {
  UniqueFd socket;
  std::optional<WorkerProcess> worker = WorkerProcess::start(workerProgram_, socket, error);
  if (!worker) return false;
  auto client = dbus::WriteClient::join(std::move(socket), kStartLimit, error);
  if (!client) return false;
  connection_.reset(new Connection{std::move(*worker), std::move(client)});
  return true;
}

WriteOutcome TagWriter::send(int fd, const std::string& path, ValueDictionary request) {
  using Status = WriteOutcome::Status;
  std::string error;
  if (!connection_ && !connect(error)) {
    return {Status::kNoAnswer, "the service cannot be started: " + error};
  }
  const dbus::TruncationServer truncations;
  request.set(key::kFd, BorrowedFd{fd});
  request.set(key::kPath, ByteString{path});
  if (truncations.endpoint() >= 0) {
    request.set(key::kTruncateConnection, BorrowedFd{truncations.endpoint()});
  }
  const auto answer = connection_->client->write(request);
  if (const auto* failure = std::get_if<dbus::CallError>(&answer)) {
    if (!connection_->client->connected()) connection_.reset();
    return {Status::kNoAnswer, failure->message};
  }
  return {std::get<bool>(answer) ? Status::kWritten : Status::kRefused, ""};
}

WriteOutcome TagWriter::writeField(int fd, const std::string& path, const std::string& key,
                                   ValueDictionary track) {
  ValueDictionary request;
  request.set(key::kChangedTag, key);
  request.set(key::kTrack, std::move(track));
  return send(fd, path, std::move(request));
}

WriteOutcome TagWriter::writeArtwork(int fd, const std::string& path,
                                     std::span<const std::byte> image, std::int64_t type,
                                     bool replace) {
  ValueDictionary request;
  request.set(key::kArtwork, image);
  request.set(key::kArtworkType, type);
  request.set(key::kReplaceArtwork, replace);
  return send(fd, path, std::move(request));
}

WriteOutcome TagWriter::clearArtwork(int fd, const std::string& path) {
  ValueDictionary request;
  request.set(key::kClearArtwork, true);
  return send(fd, path, std::move(request));
}

}  // namespace tagwriter

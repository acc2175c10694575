#include "client/private_worker.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <utility>

#include "base/unique_fd.h"

namespace tagwriter {
namespace {

constexpr std::chrono::microseconds kStartLimit = std::chrono::seconds(30);

std::chrono::microseconds startLimit(const dbus::Deadline& deadline) {
  const auto limit = static_cast<std::uint64_t>(kStartLimit.count());
  return std::chrono::microseconds(std::min(limit, deadline.microsecondsLeft()));
}

}  // namespace

bool PrivateWorker::connect(std::string& error) {
  if (client_ && client_->connected()) return true;
  client_.reset();
  worker_.reset();
  return start(error);
}

bool PrivateWorker::start(std::string& error) {
  const std::string program = program_.empty() ? dbus::findWorkerProgram(name_) : program_;
  if (program.empty()) {
    error = std::string(name_) + " is neither next to this program nor in its libexec directory";
    return false;
  }
  UniqueFd socket;
  auto worker = dbus::WorkerProcess::start(program, socket, error, log_.open().get());
  if (!worker) return false;
  guard_.watch(socket.get(), worker->pid());
  client_ = dbus::ServiceClient::join(std::move(socket), startLimit(deadline_), error);
  if (!client_) {
    worker->kill();  // it may not exit when its socket closes
    return false;
  }
  worker_.emplace(std::move(*worker));
  return true;
}

void PrivateWorker::endIfLost(dbus::CallError::Kind failure) {
  using Kind = dbus::CallError::Kind;
  const bool isLost =
      failure == Kind::kTimedOut || (failure == Kind::kNoAnswer && !client_->connected());
  if (!isLost) return;
  worker_->kill();  // it may still be at work
  client_.reset();
  worker_.reset();
}

}  // namespace tagwriter

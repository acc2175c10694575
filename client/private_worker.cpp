#include "client/private_worker.h"

#include <chrono>
#include <utility>

#include "base/unique_fd.h"

namespace tagwriter {
namespace {

constexpr std::chrono::seconds kStartLimit(30);

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
  auto worker = dbus::WorkerProcess::start(program, socket, error);
  if (!worker) return false;
  client_ = dbus::ServiceClient::join(std::move(socket), kStartLimit, error);
  if (!client_) {
    worker->kill();  // it may not exit when its socket closes
    return false;
  }
  worker_.emplace(std::move(*worker));
  return true;
}

}  // namespace tagwriter

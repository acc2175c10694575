#include "client/stall_guard.h"

#include <sys/socket.h>

namespace tagwriter {

void StallGuard::watch(int socket, pid_t pid) {
  const std::scoped_lock lock(mutex_);
  // A duplicate, because the thread that waits may close the socket at any time.
  socket_ = duplicateFd(socket);
  pid_ = pid;
  clock_.reset();
}

void StallGuard::setWaiting(bool isWaiting) {
  const std::scoped_lock lock(mutex_);
  isWaiting_ = isWaiting;
  clock_.reset();
}

void StallGuard::hangUpIfStalled(std::chrono::milliseconds limit) {
  const std::scoped_lock lock(mutex_);
  if (!isWaiting_ || !socket_) return;
  if (!clock_) clock_.emplace(pid_);
  if (clock_->stalledFor() >= limit) ::shutdown(socket_.get(), SHUT_RDWR);
}

}  // namespace tagwriter

#include "base/unique_fd.h"

#include <fcntl.h>
#include <unistd.h>

#include <utility>

namespace tagwriter {

void UniqueFd::reset(int fd) {
  if (fd_ >= 0) ::close(fd_);
  fd_ = fd;
}

UniqueFd duplicateFd(int fd) {
  return UniqueFd(::fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

UniqueFd aboveStandardStreams(UniqueFd fd) {
  return fd && fd.get() <= STDERR_FILENO ? duplicateFd(fd.get()) : std::move(fd);
}

}  // namespace tagwriter

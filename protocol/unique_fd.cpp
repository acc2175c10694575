#include "protocol/unique_fd.h"

#include <fcntl.h>
#include <unistd.h>

namespace tagwriter {

void UniqueFd::reset(int fd) {
  if (fd_ >= 0) ::close(fd_);
  fd_ = fd;
}

UniqueFd duplicateFd(int fd) {
  return UniqueFd(::fcntl(fd, F_DUPFD_CLOEXEC, 3));
}

}  // namespace tagwriter

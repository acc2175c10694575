#include "io/reserve_room.h"

#include <fcntl.h>

#include <cerrno>

namespace tagwriter {

bool reserveRoom(int fd, std::uint64_t length, std::uint64_t size) {
  while (::fallocate(fd, FALLOC_FL_KEEP_SIZE, static_cast<off_t>(length),
                     static_cast<off_t>(size)) != 0) {
    if (errno != EINTR) return errno == EOPNOTSUPP || errno == ENOSYS;
  }
  return true;
}

}  // namespace tagwriter

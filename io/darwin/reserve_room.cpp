#include "io/reserve_room.h"

#include <fcntl.h>

#include <cerrno>

namespace tagwriter {

bool reserveRoom(int fd, std::uint64_t /*length*/, std::uint64_t size) {
  fstore_t room = {};
  room.fst_flags = F_ALLOCATEALL;
  room.fst_posmode = F_PEOFPOSMODE;  // after what the file occupies; keeps its length
  room.fst_length = static_cast<off_t>(size);
  while (::fcntl(fd, F_PREALLOCATE, &room) == -1) {
    if (errno != EINTR) return errno == ENOTSUP || errno == EINVAL;
  }
  return true;
}

}  // namespace tagwriter

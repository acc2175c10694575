#include "client/room.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>

#include "base/unique_fd.h"

namespace tagwriter {
namespace {

/// What TagLib may add: padding, headers, and pages that are written anew.
constexpr std::uint64_t kOverhead = 8192;

Outcome noSpace(int error) {
  return {Status::kNoSpace, std::strerror(error)};
}

/// An unnamed file in the directory of `fd`, on the same file system; none if that is impossible.
UniqueFd openUnnamed(int fd, dev_t device) {
  std::error_code error;
  const auto path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd), error);
  if (error) return {};
  constexpr mode_t kOwner = S_IRUSR | S_IWUSR;
  UniqueFd unnamed(::open(path.parent_path().c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, kOwner));
  struct stat status {};
  const bool isHere = unnamed && ::fstat(unnamed.get(), &status) == 0 && status.st_dev == device;
  return isHere ? std::move(unnamed) : UniqueFd();
}

}  // namespace

Outcome checkRoom(int fd, std::uint64_t size) {
  const std::uint64_t needed = size + kOverhead;
  struct stat status {};
  if (::fstat(fd, &status) != 0) return {};
  rlimit limit{};
  if (::getrlimit(RLIMIT_FSIZE, &limit) == 0 &&
      static_cast<std::uint64_t>(status.st_size) + needed > limit.rlim_cur) {
    return noSpace(EFBIG);
  }
  // Unlike the numbers of free blocks, an attempt to reserve room knows about quotas.
  if (const UniqueFd unnamed = openUnnamed(fd, status.st_dev)) {
    const int result =
        ::fallocate(unnamed.get(), FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(needed));
    const bool isFull = result != 0 && (errno == ENOSPC || errno == EDQUOT);
    if (isFull) return noSpace(errno);
    if (result == 0) return {};
  }
  struct statvfs room {};
  const bool isFull = ::fstatvfs(fd, &room) == 0 && room.f_blocks != 0 &&
                      std::uint64_t{room.f_bavail} * room.f_frsize < needed;
  return isFull ? noSpace(ENOSPC) : Outcome();
}

}  // namespace tagwriter

#include "cli/new_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>
#include <vector>

namespace tagwriter {

NewFile::NewFile(std::string path)
    : path_(std::move(path)),
      part_(path_ + ".part"),
      fd_(::open(part_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666)) {}

NewFile::~NewFile() {
  if (fd_ && !part_.empty()) ::unlink(part_.c_str());
}

bool NewFile::write(std::span<const std::byte> bytes) {
  while (fd_ && !bytes.empty()) {
    const ssize_t count = ::write(fd_.get(), bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
  return static_cast<bool>(fd_);
}

bool NewFile::finish(bool replace) {
  if (!fd_) return false;
  if (renameToPath(replace)) {
    part_.clear();
    return true;
  }
  if (errno != EEXIST) return false;
  if (isSameAsPath()) return true;
  errno = EEXIST;
  return false;
}

bool NewFile::renameToPath(bool replace) {
  if (replace) return ::rename(part_.c_str(), path_.c_str()) == 0;
  if (::renameat2(AT_FDCWD, part_.c_str(), AT_FDCWD, path_.c_str(), RENAME_NOREPLACE) == 0) {
    return true;
  }
  // Not every file system can do this.
  if (errno != EINVAL || ::link(part_.c_str(), path_.c_str()) != 0) return false;
  ::unlink(part_.c_str());
  return true;
}

bool NewFile::isSameAsPath() const {
  const UniqueFd other(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!other || ::fstat(other.get(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
  constexpr std::size_t kChunk = 1 << 16;
  std::vector<char> ours(kChunk);
  std::vector<char> theirs(kChunk);
  for (off_t at = 0;; at += static_cast<off_t>(kChunk)) {
    const ssize_t count = ::pread(fd_.get(), ours.data(), kChunk, at);
    if (count < 0 || ::pread(other.get(), theirs.data(), kChunk, at) != count) return false;
    if (!std::equal(ours.begin(), ours.begin() + count, theirs.begin())) return false;
    if (count == 0) return true;
  }
}

}  // namespace tagwriter

#include "cli/new_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <utility>
#include <vector>

namespace tagwriter {
namespace {

constexpr mode_t kMode = 0666;

}  // namespace

NewFile::NewFile(std::string path) : path_(std::move(path)), part_(path_ + ".part") {
  const std::filesystem::path directory = std::filesystem::path(path_).parent_path();
  fd_.reset(
      ::open(directory.empty() ? "." : directory.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, kMode));
  if (fd_) return;
  fd_.reset(::open(part_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kMode));
  hasPart_ = static_cast<bool>(fd_);
}

NewFile::~NewFile() {
  if (hasPart_) ::unlink(part_.c_str());
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
  if (renameToPath(replace)) return true;
  if (errno != EEXIST || replace) return false;
  if (isSameAsPath()) return true;
  errno = EEXIST;
  return false;
}

bool NewFile::linkAs(const std::string& name) const {
  const std::string self = "/proc/self/fd/" + std::to_string(fd_.get());
  return ::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

bool NewFile::renameToPath(bool replace) {
  if (!hasPart_ && linkAs(path_)) return true;
  if (!hasPart_ && (errno != EEXIST || !replace)) return false;
  // Only a rename replaces a file.
  hasPart_ = hasPart_ || linkAs(part_);
  if (!hasPart_) return false;
  const unsigned flags = replace ? 0 : RENAME_NOREPLACE;
  const bool isRenamed = ::renameat2(AT_FDCWD, part_.c_str(), AT_FDCWD, path_.c_str(), flags) == 0;
  hasPart_ = !isRenamed;
  // Not every file system knows the flag.
  return isRenamed || (errno == EINVAL && ::link(part_.c_str(), path_.c_str()) == 0);
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

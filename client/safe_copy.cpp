#include "client/safe_copy.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

#include "client/extended_attributes.h"

namespace tagwriter {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kModeBits = 07777;
constexpr char kCreating[] = "creating a file in the same directory";

Outcome failed(Status status, const char* what) {
  const int error = errno;
  return {status, std::string(what) + ": " + std::strerror(error)};
}

Outcome copyFailed(const char* what) {
  return failed(Status::kCopyFailed, what);
}

/// Opens a file in a directory, never as descriptor 0, 1 or 2.
UniqueFd openIn(const UniqueFd& directory, const char* name, int flags, mode_t mode = 0) {
  return aboveStandardStreams(UniqueFd(::openat(directory.get(), name, flags | O_CLOEXEC, mode)));
}

bool sameFile(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool sameTime(const timespec& a, const timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

/// The ctime covers every change, attributes included, and cannot be set; but not every file system
/// stores it.
bool sameVersion(const struct stat& a, const struct stat& b) {
  return sameFile(a, b) && a.st_size == b.st_size && sameTime(a.st_mtim, b.st_mtim) &&
         sameTime(a.st_ctim, b.st_ctim);
}

bool sameOwner(const struct stat& a, const struct stat& b) {
  return a.st_uid == b.st_uid && a.st_gid == b.st_gid;
}

bool sameMode(const struct stat& a, const struct stat& b) {
  return (a.st_mode & kModeBits) == (b.st_mode & kModeBits);
}

/// Repeats a system call that a signal interrupts.
template <typename Call>
auto retryOnEintr(const Call& call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

bool writeAll(int fd, const char* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t written = retryOnEintr([&] { return ::write(fd, bytes, size); });
    if (written <= 0) return false;
    bytes += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

/// Appends the first `size` bytes of `from` to `to`, or all of them if there are fewer; in the
/// kernel where possible. Does not use the offset of `from`, which other processes may share.
bool copyBytes(int from, int to, off_t size) {
  constexpr off_t kChunk = off_t{1} << 20;
  off_t at = 0;
  const auto next = [&] { return static_cast<std::size_t>(std::min(kChunk, size - at)); };
  const auto copyByKernel = [&] { return ::copy_file_range(from, &at, to, nullptr, next(), 0); };
  while (at < size && retryOnEintr(copyByKernel) > 0) {
  }
  std::vector<char> buffer(next());
  while (at < size) {
    const ssize_t count = retryOnEintr([&] { return ::pread(from, buffer.data(), next(), at); });
    if (count <= 0) return count == 0;
    if (!writeAll(to, buffer.data(), static_cast<std::size_t>(count))) return false;
    at += count;
  }
  return true;
}

/// Makes a rename survive a power failure, where the file system can flush directories.
void flush(const UniqueFd& directory) {
  const UniqueFd fd = openIn(directory, ".", O_RDONLY | O_DIRECTORY);
  if (fd) retryOnEintr([&] { return ::fsync(fd.get()); });
}

bool startsUtf8Character(char byte) {
  return (static_cast<unsigned char>(byte) & 0xc0) != 0x80;
}

}  // namespace

SafeCopy::~SafeCopy() {
  if (!temporary_.empty()) ::unlinkat(directory_.get(), temporary_.c_str(), 0);
}

Outcome SafeCopy::make(int original, const std::string& path) {
  if (Outcome found = find(original, path); !found) return found;
  if (Outcome created = create(); !created) return created;
  if (Outcome copied = copyContent(original); !copied) return copied;
  return copyAttributes(original, Status::kCopyFailed);
}

Outcome SafeCopy::check(int original, const std::string& path) {
  if (Outcome found = find(original, path); !found) return found;
  const int allowed = ::faccessat(directory_.get(), ".", W_OK | X_OK, AT_EACCESS);
  return allowed == 0 ? Outcome() : copyFailed(kCreating);
}

/// Opens the directory once: its path may name another directory later.
Outcome SafeCopy::find(int original, const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                         &std::free);
  if (!real) return copyFailed("resolving the path");
  const fs::path target(real.get());
  name_ = target.filename();
  directory_.reset(::open(target.parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!directory_) return copyFailed("opening the directory");

  struct stat named {};
  if (::fstat(original, &before_) != 0 ||
      ::fstatat(directory_.get(), name_.c_str(), &named, AT_SYMLINK_NOFOLLOW) != 0) {
    return copyFailed("stat");
  }
  if (!sameFile(named, before_)) {
    return {Status::kCopyFailed, "the path and the descriptor are different files"};
  }
  return {};
}

Outcome SafeCopy::create() {
  constexpr mode_t kOwnersOnly = S_IRUSR | S_IWUSR;
  copy_ = openIn(directory_, ".", O_TMPFILE | O_RDWR, kOwnersOnly);
  if (copy_) return {};
  // Not every file system supports unnamed files.
  std::string name = newName();
  copy_ = openIn(directory_, name.c_str(), O_CREAT | O_EXCL | O_RDWR, kOwnersOnly);
  if (!copy_) return copyFailed(kCreating);
  temporary_ = std::move(name);
  return {};
}

std::string SafeCopy::newName() const {
  std::uint64_t random = 0;
  (void)!::getrandom(&random, sizeof random, 0);
  char suffix[32];
  std::snprintf(suffix, sizeof suffix, ".tagwriter-%016llx",
                static_cast<unsigned long long>(random));
  // Truncated to stay within the longest name that a file system takes, which is 143 bytes in an
  // encrypted directory.
  constexpr std::size_t kMaxPrefix = 100;
  std::size_t length = std::min(name_.size(), kMaxPrefix);
  while (length < name_.size() && length > 0 && !startsUtf8Character(name_[length])) --length;
  return "." + name_.substr(0, length) + suffix;
}

Outcome SafeCopy::copyContent(int original) {
  if (::ioctl(copy_.get(), FICLONE, original) != 0 &&
      !copyBytes(original, copy_.get(), before_.st_size)) {
    return copyFailed("copying the content");
  }
  struct stat copied {};
  if (::fstat(copy_.get(), &copied) != 0) return copyFailed("stat");
  if (copied.st_size != before_.st_size) {
    return {Status::kCopyFailed, "the file changed while it was being copied"};
  }
  return {};
}

/// Skips what already matches: not every file system supports changing the owner or the mode.
Outcome SafeCopy::copyAttributes(int original, Status onFailure) {
  struct stat copy {};
  if (::fstat(copy_.get(), &copy) != 0) return failed(onFailure, "stat");
  // The owner first: changing it clears the set-user-ID bits and capabilities.
  if (!sameOwner(copy, before_) && ::fchown(copy_.get(), before_.st_uid, before_.st_gid) != 0) {
    return failed(onFailure, "setting the owner");
  }
  // The mode last: it would give access to users in the inherited access list, and it may not allow
  // the owner to set attributes.
  if (!copyExtendedAttributes(original, copy_.get())) {
    return failed(onFailure, "copying extended attributes");
  }
  if (::fstat(copy_.get(), &copy) != 0) return failed(onFailure, "stat");
  if (!sameMode(copy, before_) && ::fchmod(copy_.get(), before_.st_mode & kModeBits) != 0) {
    return failed(onFailure, "setting the mode");
  }
  // chmod silently drops the set-group-ID bit for a group that the user is not in.
  if (::fstat(copy_.get(), &copy) != 0) return failed(onFailure, "stat");
  if (!sameOwner(copy, before_) || !sameMode(copy, before_)) {
    return {onFailure, "the owner or the mode could not be set"};
  }
  return {};
}

bool SafeCopy::isOriginalUnchanged() const {
  struct stat now {};
  return ::fstatat(directory_.get(), name_.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0 &&
         sameVersion(now, before_);
}

Outcome SafeCopy::rename() const {
  const int result =
      ::renameat(directory_.get(), temporary_.c_str(), directory_.get(), name_.c_str());
  return result == 0 ? Outcome() : failed(Status::kReplaceFailed, "renaming the copy");
}

/// Lists the directory, because the kernel may remember for a while what was there.
bool SafeCopy::isNameFree() const {
  std::error_code error;
  fs::directory_iterator entry("/proc/self/fd/" + std::to_string(directory_.get()), error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    if (entry->path().filename() == name_) return false;
  }
  return !error;
}

Outcome SafeCopy::replaceOriginal(int original) {
  // Writing clears capabilities, and the set-user-ID bits unless the user is privileged.
  if (Outcome kept = copyAttributes(original, Status::kReplaceFailed); !kept) return kept;
  if (retryOnEintr([this] { return ::fsync(copy_.get()); }) != 0) {
    return failed(Status::kReplaceFailed, "flushing the copy");
  }
  // Checked after the flush, which may have taken seconds.
  if (!isOriginalUnchanged()) {
    return {Status::kReplaceFailed, "the file was changed by another program"};
  }
  if (temporary_.empty()) {
    std::string name = newName();
    const std::string self = "/proc/self/fd/" + std::to_string(copy_.get());
    if (::linkat(AT_FDCWD, self.c_str(), directory_.get(), name.c_str(), AT_SYMLINK_FOLLOW) != 0) {
      return failed(Status::kReplaceFailed, "naming the copy");
    }
    temporary_ = std::move(name);
  }
  if (Outcome renamed = rename(); !renamed) {
    if (!isNameFree()) return renamed;
    // Quirk: libfuse without `hard_remove` first renames an original that is open, and deletes it
    // when it is closed, even if the second rename fails. The copy must not be lost, too.
    if (!rename()) {
      const std::string kept = std::exchange(temporary_, {});
      return {renamed.status(), renamed.detail() + "; the edited file is now " + kept};
    }
  }
  temporary_.clear();
  flush(directory_);
  return {};
}

}  // namespace tagwriter

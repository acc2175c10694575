#include "client/safe_copy.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/random.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace tagwriter {
namespace {

namespace fs = std::filesystem;

Outcome failed(Status status, const char* what) {
  const int error = errno;
  return {status, std::string(what) + ": " + std::strerror(error)};
}

Outcome copyFailed(const char* what) {
  return failed(Status::kCopyFailed, what);
}

bool sameVersion(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
         a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

/// Copies what is left of `from`, by the kernel where it can.
bool copyBytes(int from, int to) {
  constexpr std::size_t kAtOnce = std::size_t{1} << 20;
  ssize_t count = 0;
  while ((count = ::copy_file_range(from, nullptr, to, nullptr, kAtOnce, 0)) > 0) {
  }
  if (count == 0) return true;
  std::vector<char> buffer(kAtOnce);
  while ((count = ::read(from, buffer.data(), buffer.size())) > 0) {
    for (ssize_t done = 0; done < count;) {
      const ssize_t written =
          ::write(to, buffer.data() + done, static_cast<std::size_t>(count - done));
      if (written < 0) return false;
      done += written;
    }
  }
  return count == 0;
}

bool copyAttribute(int from, int to, const char* name) {
  const ssize_t size = ::fgetxattr(from, name, nullptr, 0);
  if (size < 0) return false;
  std::vector<char> value(static_cast<std::size_t>(size));
  if (::fgetxattr(from, name, value.data(), value.size()) != size) return false;
  return ::fsetxattr(to, name, value.data(), value.size(), 0) == 0;
}

/// The names of a file's extended attributes; nothing when they cannot be listed.
std::optional<std::vector<std::string>> attributeNames(int fd) {
  const ssize_t size = ::flistxattr(fd, nullptr, 0);
  if (size < 0 && errno == ENOTSUP) return std::vector<std::string>();
  if (size < 0) return std::nullopt;
  std::string list(static_cast<std::size_t>(size), '\0');
  if (::flistxattr(fd, list.data(), list.size()) != size) return std::nullopt;
  std::vector<std::string> names;
  for (std::size_t at = 0; at < list.size(); at += names.back().size() + 1) {
    names.emplace_back(list.c_str() + at);
  }
  return names;
}

/// Gives `to` the extended attributes of `from` and no others: a new file may have an access
/// control list from its folder.
bool copyExtendedAttributes(int from, int to) {
  const auto wanted = attributeNames(from);
  const auto inherited = attributeNames(to);
  if (!wanted || !inherited) return false;
  for (const std::string& name : *inherited) {
    const bool stays = std::find(wanted->begin(), wanted->end(), name) != wanted->end();
    if (!stays && ::fremovexattr(to, name.c_str()) != 0) return false;
  }
  return std::all_of(wanted->begin(), wanted->end(), [&](const std::string& name) {
    return copyAttribute(from, to, name.c_str());
  });
}

/// Makes a rename survive a power failure. Where folders cannot be flushed, nothing more can be
/// done.
void flushFolder(const fs::path& folder) {
  const UniqueFd fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (fd) ::fsync(fd.get());
}

}  // namespace

SafeCopy::~SafeCopy() {
  if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

Outcome SafeCopy::make(int original, const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                         &std::free);
  if (!real) return copyFailed("the file's real path");
  target_ = real.get();

  struct stat named {};
  if (::fstat(original, &before_) != 0 || ::stat(target_.c_str(), &named) != 0) {
    return copyFailed("the file's status");
  }
  if (named.st_dev != before_.st_dev || named.st_ino != before_.st_ino) {
    return {Status::kCopyFailed, "the path names another file than the descriptor"};
  }
  if (Outcome created = create(); !created) return created;
  if (Outcome copied = copyContent(original); !copied) return copied;
  return copyAttributes(original);
}

Outcome SafeCopy::create() {
  const fs::path folder = fs::path(target_).parent_path();
  copy_.reset(::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (copy_) return {};
  // Not every file system has files without a name.
  std::string name = newName();
  copy_.reset(::open(name.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (!copy_) return copyFailed("a new file beside it");
  temporary_ = std::move(name);
  return {};
}

std::string SafeCopy::newName() const {
  std::uint64_t random = 0;
  (void)!::getrandom(&random, sizeof random, 0);
  char suffix[32];
  std::snprintf(suffix, sizeof suffix, ".tagwriter-%016llx",
                static_cast<unsigned long long>(random));
  const fs::path target(target_);
  // Cut, so that the name does not grow beyond what a file system takes.
  constexpr std::size_t kKept = 200;
  std::string name = ".";
  name.append(target.filename().string(), 0, kKept).append(suffix);
  return target.parent_path() / name;
}

Outcome SafeCopy::copyContent(int original) {
  if (::ioctl(copy_.get(), FICLONE, original) == 0) return {};
  if (::lseek(original, 0, SEEK_SET) != 0 || !copyBytes(original, copy_.get())) {
    return copyFailed("the copy's content");
  }
  return {};
}

Outcome SafeCopy::copyAttributes(int original) {
  // The owner first: changing it takes set-user-ID marks and capabilities away.
  if (::fchown(copy_.get(), before_.st_uid, before_.st_gid) != 0) {
    return copyFailed("the copy's owner");
  }
  if (::fchmod(copy_.get(), before_.st_mode & 07777) != 0) return copyFailed("the copy's mode");
  if (!copyExtendedAttributes(original, copy_.get())) {
    return copyFailed("the copy's extended attributes");
  }
  return {};
}

Outcome SafeCopy::replaceOriginal(int original) {
  if (::fsync(copy_.get()) != 0) return failed(Status::kReplaceFailed, "flushing the copy");
  // After the flush, which may have taken seconds.
  struct stat now {};
  if (::fstat(original, &now) != 0 || !sameVersion(now, before_) ||
      ::stat(target_.c_str(), &now) != 0 || !sameVersion(now, before_)) {
    return {Status::kReplaceFailed, "the file has changed in the meantime"};
  }
  if (temporary_.empty()) {
    std::string name = newName();
    const std::string self = "/proc/self/fd/" + std::to_string(copy_.get());
    if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) != 0) {
      return failed(Status::kReplaceFailed, "naming the copy");
    }
    temporary_ = std::move(name);
  }
  if (::rename(temporary_.c_str(), target_.c_str()) != 0) {
    return failed(Status::kReplaceFailed, "renaming the copy");
  }
  temporary_.clear();
  flushFolder(fs::path(target_).parent_path());
  return {};
}

}  // namespace tagwriter

#include "tests/client/system_calls.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/types.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <map>
#include <mutex>
#include <utility>

namespace tagwriter::test {
namespace {

struct State {
  std::mutex mutex;
  std::map<Call, std::function<int()>> before;
  std::atomic<std::size_t> mostBytes = SIZE_MAX;
  bool recorded = false;
  std::vector<std::string> calls;
};

State& state() {
  static auto* const state = new State;  // outlives everything that may still call
  return *state;
}

/// Whether the call may happen; otherwise errno says why not.
bool permits(Call call, const char* name) {
  std::function<int()> before;
  {
    const std::lock_guard lock(state().mutex);
    if (state().recorded) state().calls.emplace_back(name);
    if (const auto found = state().before.find(call); found != state().before.end()) {
      before = found->second;
    }
  }
  const int error = before ? before() : 0;
  if (error != 0) errno = error;
  return error == 0;
}

std::size_t shortened(std::size_t size, std::size_t parts = 1) {
  return std::min(size, state().mostBytes / parts);
}

}  // namespace

Interception::Interception(Call call, std::function<int()> before) : call_(call) {
  const std::lock_guard lock(state().mutex);
  state().before[call] = std::move(before);
}

Interception::~Interception() {
  const std::lock_guard lock(state().mutex);
  state().before.erase(call_);
}

ShortCalls::ShortCalls(std::size_t most) {
  state().mostBytes = most;
}

ShortCalls::~ShortCalls() {
  state().mostBytes = SIZE_MAX;
}

CallRecord::CallRecord() {
  const std::lock_guard lock(state().mutex);
  state().recorded = true;
  state().calls.clear();
}

CallRecord::~CallRecord() {
  const std::lock_guard lock(state().mutex);
  state().recorded = false;
}

std::vector<std::string> CallRecord::calls() const {
  const std::lock_guard lock(state().mutex);
  return state().calls;
}

}  // namespace tagwriter::test

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {

using tagwriter::test::Call;
using tagwriter::test::permits;
using tagwriter::test::shortened;

int __real_openat(int directory, const char* path, int flags, ...);
int __wrap_openat(int directory, const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const bool makes = (flags & O_CREAT) || (flags & O_TMPFILE) == O_TMPFILE;
  const auto mode = makes ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  if ((flags & O_TMPFILE) == O_TMPFILE && !permits(Call::kOpenUnnamed, "open unnamed")) return -1;
  if ((flags & O_EXCL) && !permits(Call::kOpenNew, "open new")) return -1;
  return __real_openat(directory, path, flags, mode);
}

int __real_ftruncate(int fd, off_t size);
int __wrap_ftruncate(int fd, off_t size) {
  return permits(Call::kFtruncate, "ftruncate") ? __real_ftruncate(fd, size) : -1;
}

int __real_fsync(int fd);
int __wrap_fsync(int fd) {
  return permits(Call::kFsync, "fsync") ? __real_fsync(fd) : -1;
}

int __real_linkat(int fromDirectory, const char* from, int toDirectory, const char* to, int flags);
int __wrap_linkat(int fromDirectory, const char* from, int toDirectory, const char* to, int flags) {
  return permits(Call::kLinkat, "linkat")
             ? __real_linkat(fromDirectory, from, toDirectory, to, flags)
             : -1;
}

int __real_renameat(int fromDirectory, const char* from, int toDirectory, const char* to);
int __wrap_renameat(int fromDirectory, const char* from, int toDirectory, const char* to) {
  return permits(Call::kRename, "rename") ? __real_renameat(fromDirectory, from, toDirectory, to)
                                          : -1;
}

int __real_fchown(int fd, uid_t user, gid_t group);
int __wrap_fchown(int fd, uid_t user, gid_t group) {
  return permits(Call::kFchown, "fchown") ? __real_fchown(fd, user, group) : -1;
}

int __real_fchmod(int fd, mode_t mode);
int __wrap_fchmod(int fd, mode_t mode) {
  return permits(Call::kFchmod, "fchmod") ? __real_fchmod(fd, mode) : -1;
}

int __real_fsetxattr(int fd, const char* name, const void* value, size_t size, int flags);
int __wrap_fsetxattr(int fd, const char* name, const void* value, size_t size, int flags) {
  return permits(Call::kFsetxattr, "fsetxattr") ? __real_fsetxattr(fd, name, value, size, flags)
                                                : -1;
}

int __real_fremovexattr(int fd, const char* name);
int __wrap_fremovexattr(int fd, const char* name) {
  return permits(Call::kFremovexattr, "fremovexattr") ? __real_fremovexattr(fd, name) : -1;
}

int __real_ioctl(int fd, unsigned long request, ...);
int __wrap_ioctl(int fd, unsigned long request, ...) {
  va_list arguments;
  va_start(arguments, request);
  auto* const argument = va_arg(arguments, void*);
  va_end(arguments);
  if (request == FICLONE && !permits(Call::kClone, "clone")) return -1;
  return __real_ioctl(fd, request, argument);
}

ssize_t __real_copy_file_range(int from, off_t* fromOffset, int to, off_t* toOffset, size_t size,
                               unsigned flags);
ssize_t __wrap_copy_file_range(int from, off_t* fromOffset, int to, off_t* toOffset, size_t size,
                               unsigned flags) {
  return permits(Call::kCopyFileRange, "copy_file_range")
             ? __real_copy_file_range(from, fromOffset, to, toOffset, shortened(size), flags)
             : -1;
}

ssize_t __real_pread(int fd, void* buffer, size_t size, off_t offset);
ssize_t __wrap_pread(int fd, void* buffer, size_t size, off_t offset) {
  return permits(Call::kRead, "read") ? __real_pread(fd, buffer, shortened(size), offset) : -1;
}

ssize_t __real_write(int fd, const void* bytes, size_t size);
ssize_t __wrap_write(int fd, const void* bytes, size_t size) {
  return permits(Call::kWrite, "write") ? __real_write(fd, bytes, shortened(size, 2)) : -1;
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

#include "tests/client/system_calls.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/types.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <map>
#include <mutex>
#include <utility>

namespace tagwriter::test {
namespace {

struct State {
  std::mutex mutex;
  std::map<Call, std::function<int()>> before;
  std::atomic<std::size_t> maxBytes = SIZE_MAX;
  std::vector<std::string> calls;
};

State& state() {
  static auto* const state = new State;  // never destroyed: other threads may still make calls
  return *state;
}

/// Whether the call may happen; if not, sets errno.
bool permits(Call call, const char* name) {
  std::function<int()> before;
  {
    const std::lock_guard lock(state().mutex);
    state().calls.emplace_back(name);
    if (const auto found = state().before.find(call); found != state().before.end()) {
      before = found->second;
    }
  }
  const int error = before ? before() : 0;
  if (error != 0) errno = error;
  return error == 0;
}

std::size_t shortened(std::size_t size, std::size_t parts = 1) {
  return std::min(size, state().maxBytes / parts);
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

ShortCalls::ShortCalls(std::size_t max) {
  state().maxBytes = max;
}

ShortCalls::~ShortCalls() {
  state().maxBytes = SIZE_MAX;
}

CallRecord::CallRecord() {
  const std::lock_guard lock(state().mutex);
  state().calls.clear();
}

std::vector<std::string> CallRecord::calls() const {
  const std::lock_guard lock(state().mutex);
  return state().calls;
}

}  // namespace tagwriter::test

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier,bugprone-macro-parentheses)
// NOLINTBEGIN(readability-identifier-naming)
#define WRAP(result, name, call, parameters, arguments)               \
  result __real_##name parameters;                                    \
  result __wrap_##name parameters {                                   \
    return permits(Call::call, #name) ? __real_##name arguments : -1; \
  }

extern "C" {

using tagwriter::test::Call;
using tagwriter::test::permits;
using tagwriter::test::shortened;

WRAP(int, ftruncate, kFtruncate, (int fd, off_t size), (fd, size))
WRAP(int, fsync, kFsync, (int fd), (fd))
WRAP(int, fallocate, kFallocate, (int fd, int mode, off_t offset, off_t size),
     (fd, mode, offset, size))
WRAP(int, linkat, kLinkat, (int fromDir, const char* from, int toDir, const char* to, int flags),
     (fromDir, from, toDir, to, flags))
WRAP(int, renameat, kRenameat, (int fromDir, const char* from, int toDir, const char* to),
     (fromDir, from, toDir, to))
WRAP(int, fchown, kFchown, (int fd, uid_t user, gid_t group), (fd, user, group))
WRAP(int, fchmod, kFchmod, (int fd, mode_t mode), (fd, mode))
WRAP(int, fsetxattr, kFsetxattr,
     (int fd, const char* name, const void* value, size_t size, int flags),
     (fd, name, value, size, flags))
WRAP(int, fremovexattr, kFremovexattr, (int fd, const char* name), (fd, name))
WRAP(ssize_t, copy_file_range, kCopyFileRange,
     (int from, off_t* fromOffset, int to, off_t* toOffset, size_t size, unsigned flags),
     (from, fromOffset, to, toOffset, shortened(size), flags))
WRAP(ssize_t, pread, kPread, (int fd, void* buffer, size_t size, off_t offset),
     (fd, buffer, shortened(size), offset))
WRAP(ssize_t, write, kWrite, (int fd, const void* bytes, size_t size),
     (fd, bytes, shortened(size, 2)))

int __real_openat(int directory, const char* path, int flags, ...);
int __wrap_openat(int directory, const char* path, int flags, mode_t mode) {
  if ((flags & O_TMPFILE) == O_TMPFILE && !permits(Call::kOpenUnnamed, "open unnamed")) return -1;
  if ((flags & O_EXCL) && !permits(Call::kOpenNew, "open new")) return -1;
  return __real_openat(directory, path, flags, mode);
}

int __real_ioctl(int fd, unsigned long request, ...);
int __wrap_ioctl(int fd, unsigned long request, void* argument) {
  if (request == FICLONE && !permits(Call::kClone, "clone")) return -1;
  return __real_ioctl(fd, request, argument);
}

}  // extern "C"
// NOLINTEND(readability-identifier-naming)
// NOLINTEND(bugprone-reserved-identifier,bugprone-macro-parentheses)

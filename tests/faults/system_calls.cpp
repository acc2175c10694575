#include "tests/faults/system_calls.h"

#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstdio>

namespace tagwriter::test {
namespace {

/// What becomes of one call.
enum class Fate { kMade, kHalfMade, kPretended, kEnded, kFailed };

struct State {
  Fault fault;
  Trace* trace = nullptr;  ///< null: nothing applies
  struct stat file {};
  unsigned counted = 0;

  bool concerns(int fd) const {
    struct stat other {};
    return trace && ::fstat(fd, &other) == 0 && other.st_dev == file.st_dev &&
           other.st_ino == file.st_ino;
  }
};

State state;

[[noreturn]] void die() {
  ::_exit(kKilledStatus);
}

bool isHit(Call call) {
  const Fault& fault = state.fault;
  if (fault.action == Action::kNone || fault.action == Action::kPretend) return false;
  if (fault.call && fault.call != call) return false;
  ++state.counted;
  // After half a write it is the next one that fails.
  const unsigned last = fault.nth + (fault.action == Action::kFailHalf ? 1 : 0);
  return state.counted >= fault.nth && (fault.fromThenOn || state.counted <= last);
}

Fate fail(int error) {
  errno = error;
  return Fate::kFailed;
}

Fate fateOfHit() {
  Trace& trace = *state.trace;
  switch (state.fault.action) {
    case Action::kDie:
      trace.hit = true;
      die();
    case Action::kDieHalfway:
      return Fate::kHalfMade;
    case Action::kFailHalf:
      if (state.counted == state.fault.nth) return Fate::kHalfMade;
      break;
    default:
      break;
  }
  if (!trace.hit) trace.oldBytesWrittenBeforeHit = trace.oldBytesWritten;
  trace.hit = true;
  return state.fault.action == Action::kFindEnd ? Fate::kEnded : fail(state.fault.error);
}

/// To be called once for every call on the file.
Fate fateOf(Call call) {
  Trace& trace = *state.trace;
  if (trace.count < Trace::kMaxCalls) trace.calls[trace.count++] = call;
  if (isHit(call)) return fateOfHit();
  if (call == Call::kReserve && !state.fault.canReserve) return fail(EOPNOTSUPP);
  if (call == Call::kTruncate && !state.fault.canTruncate) return fail(EIO);
  return state.fault.action == Action::kPretend ? Fate::kPretended : Fate::kMade;
}

void noteWrite(off_t offset) {
  if (state.trace && offset < state.file.st_size) state.trace->oldBytesWritten = true;
}

template <typename Make>
ssize_t read(int fd, std::size_t size, const Make& make) {
  const Fate fate = state.concerns(fd) ? fateOf(Call::kRead) : Fate::kMade;
  if (fate == Fate::kFailed) return -1;
  return fate == Fate::kEnded ? 0 : make(size);
}

template <typename Make>
ssize_t write(int fd, std::size_t size, off_t offset, const Make& make) {
  if (!state.concerns(fd)) return make(size);
  const Fate fate = fateOf(Call::kWrite);
  if (fate == Fate::kFailed) return -1;
  if (fate == Fate::kPretended) return static_cast<ssize_t>(size);
  noteWrite(offset);
  if (fate == Fate::kMade) return make(size);
  const ssize_t written = make((size + 1) / 2);
  if (state.fault.action == Action::kDieHalfway) die();
  return written;
}

template <typename Make>
int call(Call call, int fd, const Make& make) {
  const Fate fate = state.concerns(fd) ? fateOf(call) : Fate::kMade;
  if (fate == Fate::kPretended) return 0;
  if (fate != Fate::kFailed) return make();
  if (call == Call::kClose) {  // a descriptor is closed even if that fails
    const int error = errno;
    make();
    errno = error;
  }
  return -1;
}

}  // namespace

void startFault(int fd, const Fault& fault, Trace& trace) {
  state = {fault, &trace};
  ::fstat(fd, &state.file);
}

void endFault() {
  state.trace = nullptr;
}

}  // namespace tagwriter::test

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {

using tagwriter::test::Call;
namespace faults = tagwriter::test;

ssize_t __real_read(int fd, void* bytes, size_t size);
ssize_t __wrap_read(int fd, void* bytes, size_t size) {
  return faults::read(fd, size, [&](size_t part) { return __real_read(fd, bytes, part); });
}

ssize_t __real_pread(int fd, void* bytes, size_t size, off_t offset);
ssize_t __wrap_pread(int fd, void* bytes, size_t size, off_t offset) {
  return faults::read(fd, size, [&](size_t part) { return __real_pread(fd, bytes, part, offset); });
}

ssize_t __real_write(int fd, const void* bytes, size_t size);
ssize_t __wrap_write(int fd, const void* bytes, size_t size) {
  return faults::write(fd, size, ::lseek(fd, 0, SEEK_CUR),
                       [&](size_t part) { return __real_write(fd, bytes, part); });
}

ssize_t __real_pwrite(int fd, const void* bytes, size_t size, off_t offset);
ssize_t __wrap_pwrite(int fd, const void* bytes, size_t size, off_t offset) {
  return faults::write(fd, size, offset,
                       [&](size_t part) { return __real_pwrite(fd, bytes, part, offset); });
}

int __real_fallocate(int fd, int mode, off_t offset, off_t size);
int __wrap_fallocate(int fd, int mode, off_t offset, off_t size) {
  return faults::call(Call::kReserve, fd, [&] { return __real_fallocate(fd, mode, offset, size); });
}

int __real_ftruncate(int fd, off_t size);
int __wrap_ftruncate(int fd, off_t size) {
  return faults::call(Call::kTruncate, fd, [&] {
    faults::noteWrite(size);
    return __real_ftruncate(fd, size);
  });
}

int __real_fsync(int fd);
int __wrap_fsync(int fd) {
  return faults::call(Call::kFlush, fd, [&] { return __real_fsync(fd); });
}

int __real_fdatasync(int fd);
int __wrap_fdatasync(int fd) {
  return faults::call(Call::kFlush, fd, [&] { return __real_fdatasync(fd); });
}

int __real_close(int fd);
int __wrap_close(int fd) {
  return faults::call(Call::kClose, fd, [&] { return __real_close(fd); });
}

int __real_fclose(FILE* file);
int __wrap_fclose(FILE* file) {
  return faults::call(Call::kClose, ::fileno(file), [&] { return __real_fclose(file); });
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

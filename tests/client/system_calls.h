// Intercepts the client library's system calls. The test program is linked so that each of these
// calls passes through here (--wrap).
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace tagwriter::test {

enum class Call {
  kOpenUnnamed,  ///< openat with O_TMPFILE
  kOpenNew,      ///< openat with O_EXCL
  kFtruncate,
  kFsync,
  kLinkat,
  kRenameat,
  kFchown,
  kFchmod,
  kFsetxattr,
  kFremovexattr,
  kClone,  ///< ioctl with FICLONE
  kCopyFileRange,
  kPread,
  kWrite,
  kFallocate,
};

/// While it lives, `before` runs before each `call`, on the calling thread. It returns 0 to make
/// the call, or the error with which the call fails instead.
class Interception {
 public:
  Interception(Call call, std::function<int()> before);
  Interception(Call call, int error) : Interception(call, [error] { return error; }) {}
  ~Interception();
  Interception(const Interception&) = delete;
  Interception& operator=(const Interception&) = delete;

 private:
  Call call_;
};

/// While it lives, no call reads or copies more than `max` bytes, or writes more than half of that.
class ShortCalls {
 public:
  explicit ShortCalls(std::size_t max);
  ~ShortCalls();
  ShortCalls(const ShortCalls&) = delete;
  ShortCalls& operator=(const ShortCalls&) = delete;
};

/// The names of the calls made since its construction, in order, including those that failed.
class CallRecord {
 public:
  CallRecord();
  std::vector<std::string> calls() const;
};

}  // namespace tagwriter::test

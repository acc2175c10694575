// The client library's system calls under a test's control. The test program is linked so that each
// of the calls below passes through here on its way to the system (--wrap).
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
  kRename,  ///< renameat
  kFchown,
  kFchmod,
  kFsetxattr,
  kFremovexattr,
  kClone,  ///< ioctl with FICLONE
  kCopyFileRange,
  kRead,  ///< pread
  kWrite,
};

/// For its life, `before` runs before each `call`, on the caller's thread. It returns 0 to let the
/// call happen, or the error with which it fails instead.
class Interception {
 public:
  Interception(Call call, std::function<int()> before);
  ~Interception();
  Interception(const Interception&) = delete;
  Interception& operator=(const Interception&) = delete;

 private:
  Call call_;
};

/// For its life, no call reads or copies more than `most` bytes at once, or writes more than half
/// of that.
class ShortCalls {
 public:
  explicit ShortCalls(std::size_t most);
  ~ShortCalls();
  ShortCalls(const ShortCalls&) = delete;
  ShortCalls& operator=(const ShortCalls&) = delete;
};

/// For its life, keeps the names of the calls that were made, in order, whether they failed or not.
class CallRecord {
 public:
  CallRecord();
  ~CallRecord();
  CallRecord(const CallRecord&) = delete;
  CallRecord& operator=(const CallRecord&) = delete;

  std::vector<std::string> calls() const;
};

}  // namespace tagwriter::test

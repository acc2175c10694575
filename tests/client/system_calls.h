// The client library's system calls under a test's control. The test program is linked so that each
// of the calls below passes through here on its way to the system (--wrap).
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tagwriter::test {

enum class Call {
  kOpenUnnamed,  ///< open with O_TMPFILE
  kOpenNew,      ///< open with O_EXCL
  kFtruncate,
  kFsync,
  kLinkat,
  kRename,
  kFchown,
  kFchmod,
  kFsetxattr,
  kCopyFileRange,
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

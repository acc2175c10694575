// An end to work that would never end.
#pragma once

namespace tagwriter {

/// While it lives, the process may use so much CPU time and no more: the system then ends it with
/// SIGPROF. Only one may live at a time in a process.
class CpuLimit {
 public:
  /// `seconds` counts from now, in all threads together.
  explicit CpuLimit(long seconds);
  ~CpuLimit();
  CpuLimit(const CpuLimit&) = delete;
  CpuLimit& operator=(const CpuLimit&) = delete;
};

}  // namespace tagwriter

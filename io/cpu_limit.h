// Limits the CPU time of work that might never end.
#pragma once

namespace tagwriter {

/// Limits the CPU time of the process while it lives: beyond the limit, the system sends SIGPROF,
/// which must be neither ignored nor blocked and ends the process. Only one may live at a time.
class CpuLimit {
 public:
  /// `seconds` of CPU time, counted from now, of all threads together.
  explicit CpuLimit(long seconds);
  ~CpuLimit();
  CpuLimit(const CpuLimit&) = delete;
  CpuLimit& operator=(const CpuLimit&) = delete;
};

}  // namespace tagwriter

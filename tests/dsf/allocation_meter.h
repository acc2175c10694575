// How much memory is asked for at once.
#pragma once

#include <cstddef>

namespace tagwriter::test {

/// Notes the largest single allocation of its life, in this thread, the tag library's included.
class AllocationMeter {
 public:
  AllocationMeter();
  ~AllocationMeter();
  AllocationMeter(const AllocationMeter&) = delete;
  AllocationMeter& operator=(const AllocationMeter&) = delete;

  /// In bytes; 0 when there was none.
  std::size_t largest() const;
};

}  // namespace tagwriter::test

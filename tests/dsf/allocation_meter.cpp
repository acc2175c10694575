#include "tests/dsf/allocation_meter.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

thread_local bool measuring = false;
thread_local std::size_t largestAllocation = 0;

}  // namespace

// The whole program's, so that the library's containers are measured as well.
void* operator new(std::size_t size) {
  if (measuring) largestAllocation = std::max(largestAllocation, size);
  if (void* memory = std::malloc(std::max<std::size_t>(size, 1))) return memory;
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

namespace tagwriter::test {

AllocationMeter::AllocationMeter() {
  largestAllocation = 0;
  measuring = true;
}

AllocationMeter::~AllocationMeter() {
  measuring = false;
}

std::size_t AllocationMeter::largest() const {
  return largestAllocation;
}

}  // namespace tagwriter::test

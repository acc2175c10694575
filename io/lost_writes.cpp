#include "io/lost_writes.h"

#include <atomic>

namespace tagwriter {
namespace {

std::atomic<std::uint64_t> count = 0;

}  // namespace

std::uint64_t lostWrites() {
  return count;
}

void noteLostWrite() {
  ++count;
}

}  // namespace tagwriter

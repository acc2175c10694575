#include "io/new_bytes.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace tagwriter {

NewBytes::Kept NewBytes::keep(const TagLib::ByteVector& data, unsigned start, unsigned end) {
  const unsigned count = end - start;
  if (count >= kWorthSharing && count > data.size() / 2) {
    shared_.push_front(data);
    memory_ += data.size();
    return {std::as_const(shared_.front()).data() + start, true};
  }
  if (count > left_) {
    left_ = std::max(count, kBlockSize);
    blocks_.push_front(std::make_unique_for_overwrite<char[]>(left_));
    free_ = blocks_.front().get();
    memory_ += left_;
  }
  char* const bytes = free_;
  std::memcpy(bytes, data.data() + start, count);
  free_ += count;
  left_ -= count;
  return {bytes, false};
}

}  // namespace tagwriter

// Memory for the new bytes of a plan.
#pragma once

#include <tbytevector.h>

#include <cstdint>
#include <forward_list>
#include <memory>

namespace tagwriter {

/// Keeps bytes where they are for its own life. Small ones lie together: each in a block of the
/// heap of its own would leave holes between them, and an Ogg file has tens of thousands.
class NewBytes {
 public:
  struct Kept {
    const char* bytes = nullptr;
    bool isShared = false;  ///< with a vector, so they must not be changed
  };

  /// Keeps the bytes of `data` from `start` to `end`, in memory shared with `data` if they are many
  /// and most of it. Others are copied behind those copied last, as long as there is room.
  Kept keep(const TagLib::ByteVector& data, unsigned start, unsigned end);

  /// How much memory that takes, in bytes.
  std::uint64_t memory() const { return memory_; }

 private:
  static constexpr unsigned kBlockSize = 64 << 10;
  static constexpr unsigned kWorthSharing = 4 << 10;

  std::forward_list<TagLib::ByteVector> shared_;
  std::forward_list<std::unique_ptr<char[]>> blocks_;
  char* free_ = nullptr;  ///< what is left of the first block
  unsigned left_ = 0;
  std::uint64_t memory_ = 0;
};

}  // namespace tagwriter

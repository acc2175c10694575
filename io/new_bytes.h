// Memory for the new bytes of a plan.
#pragma once

#include <tbytevector.h>

#include <cstdint>
#include <forward_list>
#include <memory>

namespace tagwriter {

/// Keeps bytes at a fixed address as long as it lives. Small amounts are stored together: a
/// separate heap block for each would leave holes, and an edit of an Ogg file has tens of
/// thousands.
class NewBytes {
 public:
  struct Kept {
    const char* bytes = nullptr;
    bool isShared = false;  ///< with a ByteVector, so they must not be changed
  };

  /// Keeps the bytes of `data` from `start` up to `end`, which is not included. Shares the memory
  /// of `data` if they are many and more than half of it. Otherwise copies them, directly after the
  /// bytes that were copied last if there is room.
  Kept keep(const TagLib::ByteVector& data, unsigned start, unsigned end);

  /// How much memory all kept bytes take, in bytes.
  std::uint64_t memory() const { return memory_; }

 private:
  static constexpr unsigned kBlockSize = 64 << 10;
  static constexpr unsigned kWorthSharing = 4 << 10;

  std::forward_list<TagLib::ByteVector> shared_;
  std::forward_list<std::unique_ptr<char[]>> blocks_;
  char* free_ = nullptr;  ///< the unused part of the first block
  unsigned left_ = 0;
  std::uint64_t memory_ = 0;
};

}  // namespace tagwriter

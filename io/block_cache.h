// Reads a file in a few large blocks instead of many small ones.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "io/fd_file_stream.h"

namespace tagwriter {

/// Keeps the blocks of the file that were used last. What has been overwritten in the file must not
/// be read any more.
class BlockCache {
 public:
  /// `file` is borrowed; `length` is its length in bytes.
  BlockCache(TagLib::FDFileStream& file, std::uint64_t length) : file_(file), length_(length) {}

  /// Copies the `count` bytes at `offset`, which must lie within the file, to `out`. Returns false
  /// when they cannot be read.
  bool read(std::uint64_t offset, char* out, std::uint64_t count);

 private:
  static constexpr std::uint64_t kBlockSize = 16 << 10;
  static constexpr std::size_t kBlocks = 8;
  static constexpr std::uint64_t kMaxCached = 2 * kBlockSize;  ///< larger reads go to the file

  struct Block {
    std::uint64_t offset = UINT64_MAX;
    std::unique_ptr<char[]> bytes;
    std::uint64_t lastUse = 0;
  };

  const char* blockAt(std::uint64_t offset);

  TagLib::FDFileStream& file_;
  std::uint64_t length_;
  std::array<Block, kBlocks> blocks_;
  std::uint64_t uses_ = 0;
};

}  // namespace tagwriter

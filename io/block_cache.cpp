#include "io/block_cache.h"

#include <algorithm>
#include <cstring>

namespace tagwriter {

bool BlockCache::read(std::uint64_t offset, char* out, std::uint64_t count) {
  if (count >= kMaxCached) return file_.readAt(offset, out, count);
  while (count > 0) {
    const std::uint64_t skip = offset % kBlockSize;
    const char* block = blockAt(offset - skip);
    if (!block) return false;
    const std::uint64_t part = std::min(count, kBlockSize - skip);
    std::memcpy(out, block + skip, part);
    offset += part;
    out += part;
    count -= part;
  }
  return true;
}

/// The block that starts at `offset`, read if need be; null when it cannot be read. The last block
/// ends with the file.
const char* BlockCache::blockAt(std::uint64_t offset) {
  Block* oldest = &blocks_.front();
  for (Block& block : blocks_) {
    if (block.offset == offset) {
      block.lastUse = ++uses_;
      return block.bytes.get();
    }
    if (block.lastUse < oldest->lastUse) oldest = &block;
  }
  oldest->offset = UINT64_MAX;
  if (!oldest->bytes) oldest->bytes = std::make_unique_for_overwrite<char[]>(kBlockSize);
  if (!file_.readAt(offset, oldest->bytes.get(), std::min(kBlockSize, length_ - offset))) {
    return nullptr;
  }
  oldest->offset = offset;
  oldest->lastUse = ++uses_;
  return oldest->bytes.get();
}

}  // namespace tagwriter

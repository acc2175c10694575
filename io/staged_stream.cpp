#include "io/staged_stream.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <limits>

#include "io/commit.h"

namespace TagLib {

using tagwriter::Piece;

namespace {

/// The size of an ID3v2 tag has 28 bits (ID3v2.4.0, 3.1); other tags are smaller.
constexpr std::uint64_t kLargestTag = 1 << 28;

constexpr unsigned kChunkSize = 4096;
using Chunk = std::array<char, kChunkSize>;

/// The first difference at or after `i`; `count` if there is none.
unsigned startOfDifference(const char* a, const char* b, unsigned i, unsigned count) {
  constexpr unsigned kStride = 64;
  while (i + kStride <= count && std::memcmp(a + i, b + i, kStride) == 0) i += kStride;
  while (i < count && a[i] == b[i]) ++i;
  return i;
}

/// The end of the difference that starts at `i`. Short runs of equal bytes count as part of it: a
/// new piece costs more than they do.
unsigned endOfDifference(const char* a, const char* b, unsigned i, unsigned count) {
  constexpr unsigned kWorthAPiece = 32;
  for (unsigned end = i + 1;;) {
    // From the back: where everything differs, one byte in 32 is compared.
    unsigned last = std::min(end + kWorthAPiece, count);
    while (last > end && a[last - 1] == b[last - 1]) --last;
    if (last == end) return end;
    end = last;
  }
}

}  // namespace

StagedStream::StagedStream(FDFileStream& file, std::uint64_t maxGrowth)
    : StagedStream(file, file.extent(), maxGrowth) {}

StagedStream::StagedStream(FDFileStream& file, const std::optional<FDFileStream::Extent>& extent,
                           std::uint64_t maxGrowth)
    : file_(file),
      extent_(extent.value_or(FDFileStream::Extent{})),
      maxLength_(extent_.length + maxGrowth),
      maxMemory_(kLargestTag + maxGrowth),
      cache_(file, extent_.length),
      plan_(extent_.length),
      refused_(!extent) {}

ByteVector StagedStream::readBlock(StreamSize length) {
  if (!isOpen()) return file_.readBlock(length);  // says so
  if (length == 0 || refused_) return {};

  constexpr StreamSize kNeedsLength = 1024;
  if (length > kNeedsLength) {
    const auto fileLength = static_cast<std::uint64_t>(this->length());
    length = static_cast<StreamSize>(std::min<std::uint64_t>({length, fileLength, INT_MAX}));
  }
  if (metEnd_) return {};
  const std::uint64_t left = plan_.length() - std::min(position_, plan_.length());
  const std::uint64_t count = std::min<std::uint64_t>(length, left);
  metEnd_ = count < length;
  ByteVector block(static_cast<unsigned>(count), 0);
  if (count > 0 && !read(position_, block.data(), count)) {
    refused_ = true;
    return {};
  }
  position_ += count;
  return block;
}

void StagedStream::writeBlock(const ByteVector& data) {
  if (!isOpen() || readOnly()) return file_.writeBlock(data);  // says so
  if (data.isEmpty() || !change(position_, data.size(), data)) return;
  position_ += data.size();
}

void StagedStream::insert(const ByteVector& data, StreamStart start, StreamSize replaced) {
  if (!isOpen() || readOnly()) return file_.insert(data, start, replaced);  // says so
  if (!change(start, replaced, data)) return;
  moveTo(data.size() == replaced ? start + replaced : plan_.length());
}

void StagedStream::removeBlock(StreamStart start, StreamSize length) {
  if (!isOpen()) return file_.removeBlock(start, length);  // says so
  if (readOnly()) {
    // There only the truncation takes effect.
    if (!isWithinReach(start, length, 0)) return;
    const std::uint64_t kept = plan_.length() - std::min<std::uint64_t>(start, plan_.length());
    plan_.resize(start + kept - std::min<std::uint64_t>(length, kept));
  } else {
    if (!change(start, length, {})) return;
    plan_.resize(std::max<std::uint64_t>(start, plan_.length()));
  }
  moveTo(plan_.length());
}

void StagedStream::seek(StreamOffset offset, Position position) {
  if (!isOpen()) return file_.seek(offset, position);  // says so
  std::uint64_t base = 0;
  switch (static_cast<unsigned>(position)) {
    case Beginning:
      break;
    case Current:
      base = position_;
      break;
    case End:
      base = plan_.length();
      break;
    default:
      return file_.seek(offset, position);  // says so
  }
  StreamOffset target = 0;
  if (__builtin_add_overflow(static_cast<StreamOffset>(base), offset, &target) || target < 0)
    return;
  moveTo(static_cast<std::uint64_t>(target));
}

StreamOffset StagedStream::length() {
  if (!isOpen()) return file_.length();  // says so
  metEnd_ = false;
  return static_cast<StreamOffset>(plan_.length());
}

void StagedStream::truncate(StreamOffset length) {
  if (!isOpen()) return;
  const auto newLength = static_cast<std::uint64_t>(length);
  if (isWithinReach(newLength, 0, 0)) plan_.resize(newLength);
}

bool StagedStream::commit() {
  return isOpen() && !refused_ && tagwriter::commitPlan(plan_, extent_, cache_, file_);
}

void StagedStream::moveTo(std::uint64_t position) {
  position_ = position;
  metEnd_ = false;
}

/// Whether `replaced` bytes at `start` can become `added` bytes; if not, the plan is refused.
bool StagedStream::isWithinReach(std::uint64_t start, std::uint64_t replaced, std::uint64_t added) {
  constexpr std::uint64_t kMaxOffset = std::numeric_limits<StreamOffset>::max();
  const std::uint64_t length = std::max(start, plan_.length());
  refused_ = refused_ || start > kMaxOffset || replaced > kMaxOffset - start ||
             length - std::min(replaced, length - start) + added > maxLength_ ||
             plan_.memory() > maxMemory_;
  return !refused_;
}

/// Replaces the range in the plan, except for bytes that are already the same. Returns false when
/// the plan is refused.
bool StagedStream::change(std::uint64_t start, std::uint64_t replaced, const ByteVector& data) {
  if (!isWithinReach(start, replaced, data.size())) return false;
  if (replaced > data.size() && start > plan_.length()) plan_.resize(start);
  const std::uint64_t there = plan_.length() - std::min(start, plan_.length());
  replaced = std::min(replaced, there);
  if (replaced == data.size()) {
    overwrite(start, data);
  } else {
    const unsigned head = sameAtStart(start, replaced, data);
    const unsigned tail = sameAtEnd(start + head, replaced - head, data.mid(head));
    plan_.replace(start + head, replaced - head - tail, data, head, data.size() - tail);
  }
  return !refused_;
}

/// Overwrites the existing range at `start` where it differs from `data`.
void StagedStream::overwrite(std::uint64_t start, const ByteVector& data) {
  Chunk old;
  for (unsigned done = 0; done < data.size(); done += kChunkSize) {
    const unsigned count = std::min(kChunkSize, data.size() - done);
    if (!read(start + done, old.data(), count)) return;
    const char* bytes = data.data() + done;
    for (unsigned i = startOfDifference(old.data(), bytes, 0, count); i < count;) {
      const unsigned end = endOfDifference(old.data(), bytes, i, count);
      plan_.replace(start + done + i, end - i, data, done + i, done + end);
      i = startOfDifference(old.data(), bytes, end, count);
    }
  }
}

/// How many bytes at the start of the range are those of `data`.
unsigned StagedStream::sameAtStart(std::uint64_t start, std::uint64_t length,
                                   const ByteVector& data) {
  const auto most = static_cast<unsigned>(std::min<std::uint64_t>(length, data.size()));
  Chunk old;
  for (unsigned same = 0; same < most; same += kChunkSize) {
    const unsigned count = std::min(kChunkSize, most - same);
    if (!read(start + same, old.data(), count)) return 0;
    const unsigned different = startOfDifference(old.data(), data.data() + same, 0, count);
    if (different < count) return same + different;
  }
  return most;
}

/// How many bytes at the end of the range are those at the end of `data`.
unsigned StagedStream::sameAtEnd(std::uint64_t start, std::uint64_t length,
                                 const ByteVector& data) {
  const auto most = static_cast<unsigned>(std::min<std::uint64_t>(length, data.size()));
  Chunk old;
  for (unsigned same = 0; same < most; same += kChunkSize) {
    const unsigned count = std::min(kChunkSize, most - same);
    if (!read(start + length - same - count, old.data(), count)) return 0;
    const char* expected = data.data() + data.size() - same - count;
    for (unsigned i = count; i > 0; --i) {
      if (old[i - 1] != expected[i - 1]) return same + count - i;
    }
  }
  return most;
}

/// Reads from the plan. Returns false, and the plan is refused, when the file cannot be read.
bool StagedStream::read(std::uint64_t start, char* out, std::uint64_t count) {
  plan_.visit(start, count, [&](const Piece& piece, std::uint64_t skip, std::uint64_t part) {
    switch (piece.kind) {
      case Piece::Kind::kFile:
        refused_ = !cache_.read(piece.offset + skip, out, part) || refused_;
        break;
      case Piece::Kind::kNew:
        std::copy_n(piece.kept.bytes + skip, part, out);
        break;
      case Piece::Kind::kZeros:
        std::fill_n(out, part, '\0');
        break;
    }
    out += part;
  });
  return !refused_;
}

}  // namespace TagLib

#include "io/commit.h"

#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <span>
#include <vector>

#include "io/lost_writes.h"

namespace tagwriter {
namespace {

using TagLib::FDFileStream;
using Kind = Piece::Kind;

constexpr std::uint64_t kBlockSize = 1 << 20;
constexpr std::uint64_t kPageSize = 4096;
constexpr std::uint64_t kSmallestBlock = 512;  // that a file system allocates
using Page = std::array<char, kPageSize>;

/// A piece that is not in the file yet, or not where it belongs.
struct Change {
  const Piece* piece;
  std::uint64_t start;  ///< in the new file

  std::uint64_t end() const { return start + piece->length; }
  bool moves() const { return piece->kind == Kind::kFile; }
  /// For a change that moves: how far. Wraps around for one that moves towards the start.
  std::uint64_t distance() const { return start - piece->offset; }
};

/// Adjacent changes that are written in one direction.
struct Stretch {
  std::uint64_t start;
  std::uint64_t end;
  bool towardsEnd;  ///< starts with what moves towards the end; nothing in it moves the other way
};

/// Whether this process may write up to `end`, whether or not that makes a file longer.
bool isWithinSizeLimit(std::uint64_t end) {
  rlimit limit{};
  return ::getrlimit(RLIMIT_FSIZE, &limit) != 0 || end <= limit.rlim_cur;
}

class Commit {
 public:
  Commit(const PieceTable& plan, const FDFileStream::Extent& old, BlockCache& source,
         FDFileStream& file)
      : oldExtent_(old), newLength_(plan.length()), source_(source), file_(file) {
    std::uint64_t start = 0;
    bool towardsEnd = false;
    for (const Piece& piece : plan.pieces()) {
      if (piece.kind == Kind::kFile) towardsEnd = start > piece.offset;
      if (piece.kind != Kind::kFile || piece.offset != start) add({&piece, start}, towardsEnd);
      start += piece.length;
    }
  }

  /// Returns what commitPlan does.
  bool run() {
    try {
      return carryOut();
    } catch (const std::exception&) {  // out of memory
      return overwrote_ ? lose() : undo();
    }
  }

 private:
  bool carryOut() {
    if (newLength_ == oldLength() && !differs()) return true;
    if (!changes_.empty() && !isWithinSizeLimit(changes_.back().end())) return false;
    if (newLength_ > oldLength() && !grow()) return undo();
    if (!overwrite()) return overwrote_ ? lose() : undo();
    return newLength_ >= oldLength() || truncate(newLength_) ? true : lose();
  }

  std::uint64_t oldLength() const { return oldExtent_.length; }

  void add(Change change, bool towardsEnd) {
    changes_.push_back(change);
    Stretch* last = stretches_.empty() ? nullptr : &stretches_.back();
    if (last && last->end == change.start && last->towardsEnd == towardsEnd) {
      last->end = change.end();
    } else {
      stretches_.push_back({change.start, change.end(), towardsEnd});
    }
  }

  /// Whether anything moves, or new bytes differ from those in the file.
  bool differs() {
    return std::any_of(changes_.begin(), changes_.end(), [this](const Change& change) {
      if (change.moves()) return true;
      Page old;
      for (std::uint64_t at = change.start; at < change.end(); at += kPageSize) {
        const std::uint64_t count = std::min(kPageSize, change.end() - at);
        const char* bytes = blockAt(at, count);
        if (!bytes || !source_.read(at, old.data(), count)) return true;
        if (std::memcmp(old.data(), bytes, count) != 0) return true;
      }
      return false;
    });
  }

  /// Writes what lies beyond the old end; no byte of the old file is overwritten there. If all
  /// changes are in one page, overwrite() does it: the room is there, and a single write succeeds
  /// or fails as a whole.
  bool grow() {
    const bool needsRoom = !isInOne(kSmallestBlock, oldLength() - 1, newLength_ - 1);
    if (!needsRoom && isOnePart() && isInOne(kPageSize, changes_.front().start, newLength_ - 1)) {
      return true;
    }
    written_ = oldLength();
    return (!needsRoom || file_.reserve(newLength_ - oldLength())) &&
           writeForwards(oldLength(), newLength_);
  }

  static bool isInOne(std::uint64_t size, std::uint64_t offset, std::uint64_t other) {
    return offset / size == other / size;
  }

  bool overwrite() {
    // What is in memory before it is written can be written in any order.
    if (isOnePart() && changes_.back().end() - changes_.front().start <= kBlockSize) {
      return writeForwards(changes_.front().start, endOf(stretches_.back()));
    }
    return moveTowardsEnd() && moveTowardsStart();
  }

  /// Whether nothing that stays lies between the changes.
  bool isOnePart() const {
    return !changes_.empty() && std::adjacent_find(stretches_.begin(), stretches_.end(),
                                                   [](const Stretch& one, const Stretch& next) {
                                                     return one.end != next.start;
                                                   }) == stretches_.end();
  }

  /// The end of the part that is not written yet.
  std::uint64_t endOf(const Stretch& stretch) const { return std::min(stretch.end, written_); }

  // New bytes can be written along with their stretch. A stretch towards the end starts with bytes
  // that move, so everything before the stretch comes from before it, and nothing that is
  // overwritten is needed any more. In the other direction, bytes land before their source, and
  // everything that moves towards the end has been written.

  bool moveTowardsEnd() {
    return std::all_of(stretches_.rbegin(), stretches_.rend(), [this](const Stretch& stretch) {
      return !stretch.towardsEnd || writeBackwards(stretch.start, endOf(stretch));
    });
  }

  bool moveTowardsStart() {
    return std::all_of(stretches_.begin(), stretches_.end(), [this](const Stretch& stretch) {
      return stretch.towardsEnd || writeForwards(stretch.start, endOf(stretch));
    });
  }

  /// Nothing was overwritten: only the length, and what was reserved, may have to go back.
  bool undo() {
    const auto now = file_.extent();
    if (now && now->length == oldLength()) {
      if (now->blocks > oldExtent_.blocks) file_.releaseReserved();
      return false;
    }
    return truncate(oldLength()) ? false : lose();
  }

  /// Returns whether the file has that length now, whatever the player says.
  bool truncate(std::uint64_t length) {
    file_.truncate(static_cast<TagLib::StreamOffset>(length));
    const auto now = file_.extent();
    return now && now->length == length;
  }

  static bool lose() {
    noteLostWrite();
    return true;
  }

  bool writeForwards(std::uint64_t from, std::uint64_t to) {
    for (std::uint64_t count = 0; from < to; from += count) {
      count = std::min(kBlockSize, to - from);
      if (!writeBlock(from, count)) return false;
    }
    return true;
  }

  bool writeBackwards(std::uint64_t from, std::uint64_t to) {
    for (std::uint64_t count = 0; from < to; to -= count) {
      count = std::min(kBlockSize, to - from);
      if (!writeBlock(to - count, count)) return false;
    }
    return true;
  }

  bool writeBlock(std::uint64_t start, std::uint64_t count) {
    const char* bytes = blockAt(start, count);
    if (!bytes) return false;
    const std::uint64_t written = file_.writeAt(start, bytes, count);
    overwrote_ = overwrote_ || (written > 0 && start < oldLength());
    return written == count;
  }

  /// The `count` new bytes at `start`, all of which are in changes; valid until the next call. Null
  /// when they cannot be read.
  const char* blockAt(std::uint64_t start, std::uint64_t count) {
    const std::uint64_t end = start + count;
    const auto first =
        std::partition_point(changes_.begin(), changes_.end(),
                             [start](const Change& change) { return change.end() <= start; });
    if (first->piece->kind == Kind::kNew && first->end() >= end) {
      return first->piece->kept.bytes + (start - first->start);
    }
    const auto last = std::partition_point(
        first, changes_.end(), [end](const Change& change) { return change.start < end; });
    block_.resize(count);
    if (!readMoved({first, last}, start, end)) return nullptr;
    for (const Change& change : std::span(first, last)) copyNew(change, start, end);
    return block_.data();
  }

  /// Reads the parts of the block that move. Pieces that move by the same distance are read at
  /// once, with the bytes between them, which copyNew() replaces.
  bool readMoved(std::span<const Change> changes, std::uint64_t start, std::uint64_t end) {
    for (auto change = changes.begin(); change != changes.end();) {
      if (!change->moves()) {
        ++change;
        continue;
      }
      const std::uint64_t distance = change->distance();
      const std::uint64_t from = std::max(change->start, start);
      std::uint64_t to = from;
      for (; change != changes.end() && (!change->moves() || change->distance() == distance);
           ++change) {
        if (change->moves()) to = std::min(change->end(), end);
      }
      if (!source_.read(from - distance, block_.data() + (from - start), to - from)) return false;
    }
    return true;
  }

  void copyNew(const Change& change, std::uint64_t start, std::uint64_t end) {
    if (change.moves()) return;
    const std::uint64_t from = std::max(change.start, start);
    const std::uint64_t count = std::min(change.end(), end) - from;
    char* to = block_.data() + (from - start);
    if (change.piece->kind == Kind::kZeros) {
      std::fill_n(to, count, '\0');
    } else {
      std::copy_n(change.piece->kept.bytes + (from - change.start), count, to);
    }
  }

  std::vector<Change> changes_;  // in the order of the file, as the stretches are
  std::vector<Stretch> stretches_;
  FDFileStream::Extent oldExtent_;
  std::uint64_t newLength_;
  BlockCache& source_;  // never asked for what has been overwritten
  FDFileStream& file_;
  std::vector<char> block_;
  std::uint64_t written_ = UINT64_MAX;  ///< everything from here on is written
  bool overwrote_ = false;              ///< whether a byte of the old file is overwritten
};

}  // namespace

bool commitPlan(const PieceTable& plan, const FDFileStream::Extent& old, BlockCache& source,
                FDFileStream& file) {
  return Commit(plan, old, source, file).run();
}

}  // namespace tagwriter

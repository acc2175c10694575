// A plan for a file: a list of ranges of the old file, new bytes and zeros.
//
// Replacing, inserting and removing are operations on the list; no byte is moved. The ranges of the
// old file stay in order, because bytes are only ever inserted between them or removed.
#pragma once

#include <tbytevector.h>

#include <algorithm>
#include <cstdint>
#include <list>

#include "io/new_bytes.h"

namespace tagwriter {

/// A part of the new file.
struct Piece {
  enum class Kind { kFile, kNew, kZeros };

  Kind kind = Kind::kFile;
  std::uint64_t length = 0;  ///< in bytes, never 0
  std::uint64_t offset = 0;  ///< kFile: where the range starts in the old file
  NewBytes::Kept kept = {};  ///< kNew
};

/// The list of pieces. Operations near the previous one are cheap, whatever the number of pieces.
class PieceTable {
 public:
  /// A plan that leaves a file of `fileLength` bytes unchanged.
  explicit PieceTable(std::uint64_t fileLength);

  /// The length of the new file in bytes.
  std::uint64_t length() const { return length_; }

  /// Replaces the `replaced` bytes at `start` with the bytes of `data` from `from` up to `to`,
  /// which is not included. If `start` is beyond the end, the gap is filled with zeros. If the
  /// range reaches beyond the end, only its existing part is replaced.
  void replace(std::uint64_t start, std::uint64_t replaced, const TagLib::ByteVector& data,
               unsigned from, unsigned to);

  /// Truncates to `length` bytes, or extends with zeros.
  void resize(std::uint64_t length);

  /// Calls visit(piece, skip, count) for each part of the `count` bytes at `start`, in order: the
  /// part is `count` bytes long and starts `skip` bytes into the piece. The range must lie within
  /// the length.
  template <typename Visitor>
  void visit(std::uint64_t start, std::uint64_t count, const Visitor& visitor) {
    if (count == 0) return;
    moveTo(start);
    auto piece = piece_;
    std::uint64_t skip = start - pieceStart_;
    for (; count > 0; ++piece, skip = 0) {
      const std::uint64_t part = std::min(count, piece->length - skip);
      visitor(*piece, skip, part);
      count -= part;
    }
  }

  const std::list<Piece>& pieces() const { return pieces_; }

  /// How much memory the plan takes, in bytes, including new bytes that were replaced again.
  std::uint64_t memory() const { return newBytes_.memory() + pieces_.size() * kPerPiece; }

 private:
  using Position = std::list<Piece>::iterator;

  static constexpr std::uint64_t kPerPiece = sizeof(Piece) + 2 * sizeof(void*);

  void moveTo(std::uint64_t offset);
  Position split(std::uint64_t offset);
  void append(const Piece& piece);
  bool overwrite(std::uint64_t start, const char* bytes, unsigned count);
  void put(Position next, std::uint64_t start, const Piece& piece);

  NewBytes newBytes_;
  std::list<Piece> pieces_;
  std::uint64_t length_;
  // The cursor: a piece, or the end of the list, and the offset at which it starts.
  Position piece_;
  std::uint64_t pieceStart_ = 0;
};

}  // namespace tagwriter

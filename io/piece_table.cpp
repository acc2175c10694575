#include "io/piece_table.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tagwriter {

using TagLib::ByteVector;
using Kind = Piece::Kind;

PieceTable::PieceTable(std::uint64_t fileLength) : length_(fileLength) {
  if (fileLength > 0) pieces_.push_back({Kind::kFile, fileLength});
  piece_ = pieces_.begin();
}

/// Sets the cursor to the piece that holds `offset`, or to the end of the list.
void PieceTable::moveTo(std::uint64_t offset) {
  if (offset < pieceStart_ / 2) {
    piece_ = pieces_.begin();
    pieceStart_ = 0;
  } else if (offset > pieceStart_ + (length_ - pieceStart_) / 2) {
    piece_ = pieces_.end();
    pieceStart_ = length_;
  }
  while (offset < pieceStart_) pieceStart_ -= (--piece_)->length;
  while (piece_ != pieces_.end() && offset >= pieceStart_ + piece_->length) {
    pieceStart_ += (piece_++)->length;
  }
}

/// Makes a piece start at `offset`, which lies within the length, and returns it with the cursor on
/// it; the end of the list for an offset at the end.
PieceTable::Position PieceTable::split(std::uint64_t offset) {
  moveTo(offset);
  if (offset == pieceStart_) return piece_;
  const std::uint64_t skip = offset - pieceStart_;
  Piece head = *piece_;
  head.length = skip;
  piece_->length -= skip;
  piece_->offset += skip;
  if (piece_->kind == Kind::kNew) piece_->kept.bytes += skip;
  pieces_.insert(piece_, head);
  pieceStart_ = offset;
  return piece_;
}

void PieceTable::append(const Piece& piece) {
  moveTo(length_);
  length_ += piece.length;
  pieces_.push_back(piece);
  piece_ = std::prev(pieces_.end());
}

void PieceTable::resize(std::uint64_t length) {
  if (length > length_) {
    append({Kind::kZeros, length - length_});
  } else if (length < length_) {
    pieces_.erase(split(length), pieces_.end());
    piece_ = pieces_.end();
    pieceStart_ = length_ = length;
  }
}

void PieceTable::replace(std::uint64_t start, std::uint64_t replaced, const ByteVector& data,
                         unsigned from, unsigned to) {
  const unsigned count = to - from;
  if (start > length_) resize(start);
  replaced = std::min(replaced, length_ - start);
  if (replaced == count && overwrite(start, data.data() + from, count)) return;

  split(start + replaced);
  const Position next = [&] {
    const Position first = split(start);
    Position last = first;
    for (std::uint64_t left = replaced; left > 0; ++last) left -= last->length;
    return pieces_.erase(first, last);
  }();
  piece_ = next;
  pieceStart_ = start;
  length_ -= replaced;
  if (count > 0) put(next, start, {Kind::kNew, count, 0, newBytes_.keep(data, from, to)});
}

/// Overwrites new bytes in place, if they are all in one piece.
bool PieceTable::overwrite(std::uint64_t start, const char* bytes, unsigned count) {
  if (count == 0) return true;
  moveTo(start);
  const std::uint64_t skip = start - pieceStart_;
  if (piece_ == pieces_.end() || piece_->kind != Kind::kNew || piece_->kept.isShared ||
      count > piece_->length - skip) {
    return false;
  }
  std::copy_n(bytes, count, const_cast<char*>(piece_->kept.bytes) + skip);  // ours alone
  return true;
}

/// Inserts new bytes before `next`, the piece at `start`. They join the piece before them if they
/// directly follow it in memory too, so that many short writes in a row become one piece.
void PieceTable::put(Position next, std::uint64_t start, const Piece& piece) {
  length_ += piece.length;
  if (next != pieces_.begin()) {
    Piece& before = *std::prev(next);
    if (before.kind == Kind::kNew && before.kept.isShared == piece.kept.isShared &&
        before.kept.bytes + before.length == piece.kept.bytes) {
      before.length += piece.length;
      piece_ = std::prev(next);
      pieceStart_ = start + piece.length - before.length;
      return;
    }
  }
  piece_ = pieces_.insert(next, piece);
  pieceStart_ = start;
}

}  // namespace tagwriter

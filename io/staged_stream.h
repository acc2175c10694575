// What TagLib's file classes see: the file as the edit will leave it, while nothing is written.
//
// It behaves as FDFileStream does, operation by operation, but changes a plan in memory (a
// PieceTable). The file is touched once, at the end, by commit().
#pragma once

#include <tiostream.h>

#include <cstdint>
#include <optional>

#include "dsf/stream_types.h"
#include "io/block_cache.h"
#include "io/fd_file_stream.h"
#include "io/piece_table.h"

namespace TagLib {

/// A stream over a file that keeps all changes in memory. No operation throws or reports failure.
/// The plan is refused if a read fails, a range is beyond what a file can hold, or the file or the
/// plan would exceed its limit. After that, reads return nothing and changes have no effect.
class StagedStream final : public IOStream {
 public:
  /// `file` is borrowed and must not be used directly while this object lives. The plan is refused
  /// if the file would grow by more than `maxGrowth` bytes, or if the plan takes more memory than
  /// that plus the size of the largest possible tag.
  StagedStream(FDFileStream& file, std::uint64_t maxGrowth);

  FileName name() const override { return file_.name(); }
  ByteVector readBlock(StreamSize length) override;
  void writeBlock(const ByteVector& data) override;
  void insert(const ByteVector& data, StreamStart start = 0, StreamSize replace = 0) override;
  void removeBlock(StreamStart start = 0, StreamSize length = 0) override;
  bool readOnly() const override { return file_.readOnly(); }
  bool isOpen() const override { return file_.isOpen(); }
  void seek(StreamOffset offset, Position position = Beginning) override;
  void clear() override { metEnd_ = false; }
  StreamOffset tell() const override { return static_cast<StreamOffset>(position_); }
  StreamOffset length() override;
  void truncate(StreamOffset length) override;

  /// The file's descriptor, which it owns; -1 when it could not be opened.
  int descriptor() const { return file_.descriptor(); }
  /// Whether the plan cannot be carried out.
  bool refused() const { return refused_; }

  /// Carries out the plan. Returns false, and the file is as it was, if the plan was refused or
  /// commitPlan() (io/commit.h) returns false. After true, the file is as planned unless a failure
  /// was counted (io/lost_writes.h). To be called once, at the end.
  bool commit();

 private:
  StagedStream(FDFileStream& file, const std::optional<FDFileStream::Extent>& extent,
               std::uint64_t maxGrowth);

  bool isWithinReach(std::uint64_t start, std::uint64_t replaced, std::uint64_t added);
  bool change(std::uint64_t start, std::uint64_t replaced, const ByteVector& data);
  void overwrite(std::uint64_t start, const ByteVector& data);
  unsigned sameAtStart(std::uint64_t start, std::uint64_t length, const ByteVector& data);
  unsigned sameAtEnd(std::uint64_t start, std::uint64_t length, const ByteVector& data);
  bool read(std::uint64_t start, char* out, std::uint64_t count);
  void moveTo(std::uint64_t position);

  FDFileStream& file_;
  FDFileStream::Extent extent_;
  std::uint64_t maxLength_;
  std::uint64_t maxMemory_;
  tagwriter::BlockCache cache_;
  tagwriter::PieceTable plan_;
  std::uint64_t position_ = 0;
  bool metEnd_ = false;  ///< as in C streams: reads return nothing until a seek or clear()
  bool refused_;
};

}  // namespace TagLib

// What TagLib's file classes see: the file as the edit will leave it, while nothing is written.
//
// It behaves as FDFileStream does, operation by operation, but changes a plan in memory (a
// PieceTable). The file is touched once, at the end, by commit().
#pragma once

#include <tiostream.h>

#include <cstdint>

#include "io/block_cache.h"
#include "io/fd_file_stream.h"
#include "io/piece_table.h"

namespace TagLib {

/// A stream over a file that keeps all changes to itself. No operation throws or reports failure. A
/// plan that cannot be carried out is refused as soon as that shows, and every later operation does
/// nothing: a read that fails, a range that no file can have, a file or a plan that would grow
/// without measure.
class StagedStream final : public IOStream {
 public:
  /// `file` is borrowed and must not be used otherwise for the life of this object. The plan may
  /// not let the file grow by more than `maxGrowth` bytes, nor take more memory than that and the
  /// largest tag that a file can have.
  StagedStream(FDFileStream& file, std::uint64_t maxGrowth);

  FileName name() const override { return file_.name(); }
  ByteVector readBlock(unsigned long length) override;
  void writeBlock(const ByteVector& data) override;
  void insert(const ByteVector& data, unsigned long start = 0, unsigned long replace = 0) override;
  void removeBlock(unsigned long start = 0, unsigned long length = 0) override;
  bool readOnly() const override { return file_.readOnly(); }
  bool isOpen() const override { return file_.isOpen(); }
  void seek(long offset, Position position = Beginning) override;
  void clear() override { metEnd_ = false; }
  long tell() const override { return static_cast<long>(position_); }
  long length() override;
  void truncate(long length) override;

  /// The file's descriptor, which it owns; -1 when it could not be opened.
  int descriptor() const { return file_.descriptor(); }
  /// Whether the plan cannot be carried out.
  bool refused() const { return refused_; }

  /// Puts the plan into the file. Returns whether the file is as planned; false when the plan was
  /// refused or there is no room for it, and then the file is as it was. What is lost after that
  /// point is counted (io/lost_writes.h). To be called once, at the end.
  bool commit();

 private:
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
  bool metEnd_ = false;  ///< as of C streams: reads give nothing until a seek or clear()
  bool refused_ = false;
};

}  // namespace TagLib

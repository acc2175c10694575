// A TagLib stream over a file that the player has opened.
//
// In the service, TagLib sees it only through StagedStream, which reads and writes it with the
// calls at the end of the class. Used alone, it works like TagLib's own FileStream (same buffer
// sizes, same way of moving the rest of a file), with three differences: it uses a descriptor
// instead of a path, it reports errors on standard error, and it asks the player to truncate the
// file if the request has a truncation endpoint.
#pragma once

#include <tiostream.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "dsf/stream_types.h"

namespace tagwriter {
class Dictionary;
class TruncationConnection;
}  // namespace tagwriter

namespace TagLib {

/// A stream over an open descriptor. No operation of IOStream throws or returns an error: TagLib
/// sees a failed read as a short one, and failures are counted (io/lost_writes.h) if the stream is
/// open for update. If the stream could not be opened, no operation does anything.
class FDFileStream : public IOStream {
 public:
  /// Opens `fd` for update, or for reading if it is not writable or `openReadOnly` is set. Starts
  /// at offset 0, regardless of the descriptor's offset.
  /// The stream takes ownership of `fd` and closes it when destroyed, unless `fd` cannot be opened
  /// either way: then isOpen() is false and the caller still owns it.
  /// `path` is the stream's name and is never opened; null means an empty name.
  /// `request` has the truncation endpoint. It is borrowed while the stream lives and may be null.
  FDFileStream(int fd, const char* path, const tagwriter::Dictionary* request,
               bool openReadOnly = false);
  ~FDFileStream() override;

  /// The name in UTF-8, owned by the stream.
  /// Quirk: the path's bytes are read as Latin-1, so a path that is not ASCII comes back encoded
  /// twice. Any bytes are a valid name that way, and TagLib looks only at the extension.
  FileName name() const override;

  /// Returns up to `length` bytes from the current position; fewer at the end of the file. If
  /// `length` is above 1024, no more than the length of the file is allocated.
  ByteVector readBlock(StreamSize length) override;

  /// Writes `data` at the current position. Refused on a read-only stream.
  void writeBlock(const ByteVector& data) override;

  /// Replaces the `replace` bytes at offset `start` with `data` and moves the rest of the file.
  /// Refused on a read-only stream. Does nothing if the range is beyond what a file can hold.
  void insert(const ByteVector& data, StreamStart start = 0, StreamSize replace = 0) override;

  /// Removes the `length` bytes at offset `start` and truncates the file. Does nothing if the range
  /// is beyond what a file can hold.
  /// Quirk: not refused on a read-only stream, as in TagLib's own stream; the writes fail silently
  /// and the truncation is still tried. TagLib's save() refuses a read-only file before that.
  void removeBlock(StreamStart start = 0, StreamSize length = 0) override;

  /// True unless the descriptor was opened for update.
  bool readOnly() const override;
  /// False if the descriptor could not be opened.
  bool isOpen() const override;

  /// The stream's descriptor, which it owns; -1 if it could not be opened.
  int descriptor() const;

  /// Moves to `offset` bytes from `position`. An unknown position is reported and changes nothing.
  void seek(StreamOffset offset, Position position = Beginning) override;

  /// Clears the end-of-file and error indicators.
  void clear() override;

  /// The current offset in bytes; 0 if not open.
  StreamOffset tell() const override;

  /// The file's length in bytes; 0 if not open. The position does not change.
  StreamOffset length() override;

  /// Sets the file's length in bytes. The player does it if the request has a truncation endpoint
  /// and a connection to it can be made; otherwise the stream truncates the descriptor itself. If
  /// the player fails there is no fallback: the file keeps its length.
  void truncate(StreamOffset length) override;

  // These bypass the position and the buffer of the stream, and must not be mixed with reads,
  // writes and seeks. Offsets and sizes are in bytes. Failures are returned, not counted.

  struct Extent {
    std::uint64_t length;  ///< of the file, in bytes
    std::uint64_t blocks;  ///< of 512 bytes on the disk, including those beyond the end
  };
  /// The size of the file; nothing if the system cannot tell.
  std::optional<Extent> extent() const;
  /// Reads exactly `size` bytes at `offset` into `bytes`; false when that fails.
  bool readAt(std::uint64_t offset, char* bytes, std::size_t size);
  /// Writes `size` bytes at `offset`. Returns how many were written; fewer only after a failure.
  std::size_t writeAt(std::uint64_t offset, const char* bytes, std::size_t size);
  /// Reserves room for `size` bytes beyond the end of the file, which keeps its length. False if
  /// that fails; true also if the file system cannot reserve room.
  bool reserve(std::uint64_t size);
  /// Releases what is reserved beyond the end, if the system allows it.
  void releaseReserved();

 private:
  bool isWithinReach(std::uint64_t start, std::uint64_t length) const;
  bool connectForTruncation();

  class FDFileStreamPrivate;
  std::unique_ptr<FDFileStreamPrivate> d;
  const tagwriter::Dictionary* request_;
  std::unique_ptr<tagwriter::TruncationConnection> truncation_;
};

}  // namespace TagLib

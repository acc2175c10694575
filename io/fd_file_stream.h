// The tag library's view of a file that somebody else has opened.
//
// Every file class of the library reads and rewrites the file through this stream. It behaves as
// the library's own file stream does (same buffer sizes, same way of shifting the rest of a file),
// with three differences: it stands on a descriptor instead of a path, it reports on standard
// error, and it lets the player shorten the file when the request names a way to ask for it.
#pragma once

#include <tiostream.h>

#include <memory>

namespace tagwriter {
class Dictionary;
class TruncationConnection;
}  // namespace tagwriter

namespace TagLib {

/// A stream over an open descriptor. No operation throws or reports failure: what goes wrong looks
/// like a short read to the library; failed writes are counted (io/lost_writes.h). On a stream that
/// could not be opened every operation does nothing.
class FDFileStream : public IOStream {
 public:
  /// Opens `fd` for update, or for reading when it cannot be written or `openReadOnly` is set, and
  /// starts at offset 0 wherever the descriptor stood.
  /// The stream takes `fd` over and closes it at its end; only when neither opening works does it
  /// stay the caller's (then isOpen() is false).
  /// `path` is the stream's name and is never opened; null gives an empty name.
  /// `request` is borrowed for the stream's life and may be null; it holds the truncation endpoint.
  FDFileStream(int fd, const char* path, const tagwriter::Dictionary* request,
               bool openReadOnly = false);
  ~FDFileStream() override;

  /// The name in UTF-8, owned by the stream. The path's bytes are taken as Latin-1, so a path that
  /// is not ASCII comes back encoded twice; kept, the library looks at the extension only.
  FileName name() const override;

  /// Returns up to `length` bytes from the current position; fewer at the end of the file. A read
  /// of more than 1024 bytes allocates no more than the file is long.
  ByteVector readBlock(unsigned long length) override;

  /// Writes all of `data` at the current position. Refused on a read-only stream.
  void writeBlock(const ByteVector& data) override;

  /// Puts `data` in the place of the `replace` bytes at offset `start`, moving the rest of the
  /// file. Refused on a read-only stream; an offset that cannot be sought changes nothing.
  void insert(const ByteVector& data, unsigned long start = 0, unsigned long replace = 0) override;

  /// Removes the `length` bytes at offset `start` and shortens the file. Not refused on a read-only
  /// stream: the writes fail silently and the truncation is still tried (kept). An offset that
  /// cannot be sought changes nothing.
  void removeBlock(unsigned long start = 0, unsigned long length = 0) override;

  /// True unless the descriptor was opened for update.
  bool readOnly() const override;
  /// False when the descriptor could not be opened.
  bool isOpen() const override;

  /// The stream's descriptor, which it owns; -1 when it could not be opened.
  int descriptor() const;

  /// Moves to `offset` bytes from `position`. An unknown position is reported and changes nothing.
  void seek(long offset, Position position = Beginning) override;

  /// Forgets the end-of-file and error marks.
  void clear() override;

  /// The current offset in bytes; 0 when not open.
  long tell() const override;

  /// The file's length in bytes, the position left where it was; 0 when not open.
  long length() override;

  /// Sets the file's length in bytes. The player does it when the request offers a truncation
  /// endpoint to which a connection can be made, otherwise the descriptor is truncated here. When
  /// the player's side fails there is no fallback: the file keeps its length.
  void truncate(long length) override;

 private:
  bool connectForTruncation();

  class FDFileStreamPrivate;
  std::unique_ptr<FDFileStreamPrivate> d;
  const tagwriter::Dictionary* request_;
  std::unique_ptr<tagwriter::TruncationConnection> truncation_;
};

}  // namespace TagLib

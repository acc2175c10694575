#include "io/fd_file_stream.h"

#include <sys/stat.h>
#include <tstring.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <limits>

#include "base/log.h"
#include "io/lost_writes.h"
#include "io/reserve_room.h"
#include "protocol/dictionary.h"
#include "protocol/keys.h"

namespace TagLib {
namespace {

using tagwriter::logText;

constexpr StreamSize kBufferSize = 1024;

std::size_t readInto(std::FILE* file, ByteVector& buffer) {
  return buffer.isEmpty() ? 0 : std::fread(buffer.data(), 1, buffer.size(), file);
}

void writeFrom(std::FILE* file, const ByteVector& buffer) {
  if (!buffer.isEmpty()) std::fwrite(buffer.data(), 1, buffer.size(), file);
}

}  // namespace

class FDFileStream::FDFileStreamPrivate {
 public:
  explicit FDFileStreamPrivate(const char* path)
      : name(path ? String(path, String::Latin1) : String()) {}

  /// To be called before the error indicator is cleared.
  void noteErrors() const {
    if (!readOnly && std::ferror(file)) tagwriter::noteLostWrite();
  }

  std::FILE* file = nullptr;
  String name;
  bool readOnly = true;
};

FDFileStream::FDFileStream(int fd, const char* path, const tagwriter::Dictionary* request,
                           bool openReadOnly)
    : d(std::make_unique<FDFileStreamPrivate>(path)), request_(request) {
  if (!openReadOnly) d->file = ::fdopen(fd, "rb+");
  if (d->file) {
    d->readOnly = false;
  } else {
    d->file = ::fdopen(fd, "rb");
  }
  if (!d->file) {
    logText("Could not open file %s", FDFileStream::name());
    return;
  }
  ::lseek(fd, 0, SEEK_SET);
}

FDFileStream::~FDFileStream() {
  if (!d->file) return;
  d->noteErrors();
  if (std::fclose(d->file) != 0 && !d->readOnly) tagwriter::noteLostWrite();
}

FileName FDFileStream::name() const {
  return d->name.toCString(true);
}

ByteVector FDFileStream::readBlock(StreamSize length) {
  if (!isOpen()) {
    logText("FDFileStream::readBlock() -- invalid file");
    return ByteVector();
  }
  if (length == 0) return ByteVector();

  if (length > kBufferSize) {
    const auto fileLength = static_cast<std::uint64_t>(std::max(this->length(), StreamOffset{0}));
    length = static_cast<StreamSize>(std::min<std::uint64_t>({length, fileLength, INT_MAX}));
  }
  ByteVector buffer(static_cast<unsigned int>(length), 0);
  buffer.resize(static_cast<unsigned int>(readInto(d->file, buffer)));
  return buffer;
}

void FDFileStream::writeBlock(const ByteVector& data) {
  if (!isOpen()) {
    logText("FDFileStream::writeBlock() -- invalid file");
    return;
  }
  if (readOnly()) {
    logText("FDFileStream::writeBlock() -- read only file");
    return;
  }
  writeFrom(d->file, data);
}

void FDFileStream::insert(const ByteVector& data, StreamStart start, StreamSize replace) {
  if (!isOpen()) {
    logText("FDFileStream::insert() -- invalid file");
    return;
  }
  if (readOnly()) {
    logText("FDFileStream::insert() -- read only file");
    return;
  }
  if (!isWithinReach(start, std::max<StreamSize>(replace, data.size()))) return;

  if (data.size() <= replace) {
    seek(static_cast<StreamOffset>(start));
    writeBlock(data);
    if (data.size() < replace) removeBlock(start + data.size(), replace - data.size());
    return;
  }

  // The file grows. Each pass reads the chunk that the next write overwrites, so the buffer must be
  // at least as long as the growth.
  const StreamSize growth = data.size() - replace;
  const StreamSize bufferLength = (growth + kBufferSize - 1) / kBufferSize * kBufferSize;

  StreamStart readPosition = start + replace;
  StreamStart writePosition = start;
  ByteVector pending = data;
  ByteVector carry(static_cast<unsigned int>(bufferLength), 0);

  while (true) {
    seek(static_cast<StreamOffset>(readPosition));
    const std::size_t count = readInto(d->file, carry);
    carry.resize(static_cast<unsigned int>(count));
    if (count < bufferLength) clear();  // so that the write at the end of the file succeeds

    seek(static_cast<StreamOffset>(writePosition));
    writeBlock(pending);
    if (count == 0) return;

    readPosition += bufferLength;
    writePosition += pending.size();
    pending = carry;
  }
}

void FDFileStream::removeBlock(StreamStart start, StreamSize length) {
  if (!isOpen()) {
    logText("FDFileStream::removeBlock() -- invalid file");
    return;
  }
  if (!isWithinReach(start, length)) return;

  StreamStart readPosition = start + length;
  StreamStart writePosition = start;
  ByteVector buffer(static_cast<unsigned int>(kBufferSize), 0);

  while (true) {
    seek(static_cast<StreamOffset>(readPosition));
    const std::size_t count = readInto(d->file, buffer);
    if (count < buffer.size()) {
      clear();
      buffer.resize(static_cast<unsigned int>(count));
    }
    seek(static_cast<StreamOffset>(writePosition));
    writeFrom(d->file, buffer);
    readPosition += count;
    writePosition += count;
    if (count == 0) break;
  }
  truncate(static_cast<StreamOffset>(writePosition));
}

/// Whether a file can have the range. Beyond the end only a seek shows the file system's limit.
bool FDFileStream::isWithinReach(std::uint64_t start, std::uint64_t length) const {
  constexpr std::uint64_t kMax = std::numeric_limits<StreamOffset>::max();
  if (start > kMax || length > kMax - start) return false;
  const auto now = extent();
  if (now && start + length <= now->length) return true;
  const off_t position = ::ftello(d->file);
  const bool possible = ::fseeko(d->file, static_cast<off_t>(start + length), SEEK_SET) == 0;
  ::fseeko(d->file, position, SEEK_SET);
  return possible;
}

bool FDFileStream::readOnly() const {
  return d->readOnly;
}

bool FDFileStream::isOpen() const {
  return d->file != nullptr;
}

int FDFileStream::descriptor() const {
  return isOpen() ? ::fileno(d->file) : -1;
}

void FDFileStream::seek(StreamOffset offset, Position position) {
  if (!isOpen()) {
    logText("FDFileStream::seek() -- invalid file");
    return;
  }
  switch (static_cast<unsigned int>(position)) {
    case Beginning:
      ::fseeko(d->file, offset, SEEK_SET);
      break;
    case Current:
      ::fseeko(d->file, offset, SEEK_CUR);
      break;
    case End:
      ::fseeko(d->file, offset, SEEK_END);
      break;
    default:
      logText("FDFileStream::seek() -- Invalid Position value.");
  }
}

void FDFileStream::clear() {
  if (!isOpen()) return;
  d->noteErrors();
  std::clearerr(d->file);
}

StreamOffset FDFileStream::tell() const {
  return isOpen() ? static_cast<StreamOffset>(::ftello(d->file)) : 0;
}

StreamOffset FDFileStream::length() {
  if (!isOpen()) {
    logText("FDFileStream::length() -- invalid file");
    return 0;
  }
  const StreamOffset position = tell();
  seek(0, End);
  const StreamOffset end = tell();
  seek(position, Beginning);
  return end;
}

std::optional<FDFileStream::Extent> FDFileStream::extent() const {
  struct stat status {};
  if (::fstat(descriptor(), &status) != 0) return std::nullopt;
  return Extent{static_cast<std::uint64_t>(status.st_size),
                static_cast<std::uint64_t>(status.st_blocks)};
}

bool FDFileStream::readAt(std::uint64_t offset, char* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t count = ::pread(descriptor(), bytes, size, static_cast<off_t>(offset));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    offset += static_cast<std::uint64_t>(count);
    bytes += count;
    size -= static_cast<std::size_t>(count);
  }
  return true;
}

std::size_t FDFileStream::writeAt(std::uint64_t offset, const char* bytes, std::size_t size) {
  std::size_t written = 0;
  while (written < size) {
    const ssize_t count = ::pwrite(descriptor(), bytes + written, size - written,
                                   static_cast<off_t>(offset + written));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    written += static_cast<std::size_t>(count);
  }
  return written;
}

bool FDFileStream::reserve(std::uint64_t size) {
  const auto now = extent();
  return now && tagwriter::reserveRoom(descriptor(), now->length, size);
}

void FDFileStream::releaseReserved() {
  // A truncation to the same length. Where it fails the room stays reserved and nothing is lost.
  if (const auto now = extent()) {
    (void)!::ftruncate(descriptor(), static_cast<off_t>(now->length));
  }
}

bool FDFileStream::connectForTruncation() {
  if (!truncation_ && request_) {
    truncation_ = request_->createTruncationConnection(tagwriter::key::kTruncateConnection);
  }
  return truncation_ != nullptr;
}

void FDFileStream::truncate(StreamOffset length) {
  if (!isOpen()) return;

  if (std::fflush(d->file) != 0) {
    logText("FDFileStream::truncate() -- fflush error: %d %s.", errno, std::strerror(errno));
  }
  if (connectForTruncation()) {
    const auto error = truncation_->truncate(descriptor(), static_cast<std::uint64_t>(length));
    if (!error) return;
    logText("FDFileStream::truncate() -- xpc error: %s.\n", error->c_str());
    tagwriter::noteLostWrite();
  } else if (::ftruncate(descriptor(), length) != 0) {
    tagwriter::noteLostWrite();
    logText("FDFileStream::truncate() -- Coundn't truncate the file %d %s.\n", errno,
            std::strerror(errno));
  }
}

}  // namespace TagLib

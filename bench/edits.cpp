// The edits that bench.py measures, as C functions: through the service's request handler, through
// TagLib's own file stream, and the plain move of bytes that no edit in place can do without.
//
// All of them open a file by its path and close it again. A null text or image removes what is
// there. They return whether the edit succeeded.

#include <fcntl.h>
#include <fileref.h>
#include <flacfile.h>
#include <mp4file.h>
#include <mpegfile.h>
#include <sys/stat.h>
#include <tpropertymap.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "artwork/artwork_format.h"
#include "artwork/picture_stores.h"
#include "base/unique_fd.h"
#include "protocol/fields.h"
#include "protocol/keys.h"
#include "protocol/value_dictionary.h"
#include "service/request_handler.h"

#define BENCH_API extern "C" __attribute__((visibility("default")))

namespace {

using namespace tagwriter;

constexpr std::int64_t kCoverType = kArtworkJPEG;
constexpr std::size_t kBlockSize = 1 << 20;

/// Opens the file and gives it to the handler, as the service does.
bool handle(const char* path, ValueDictionary& request) {
  const UniqueFd fd(::open(path, O_RDWR | O_CLOEXEC));
  request.set(key::kFd, BorrowedFd{fd.get()});
  return handleRequest(request);
}

/// What the service decodes from a message, without the descriptor.
ValueDictionary requestFor(const char* path, const char* field, const char* value) {
  ValueDictionary track;
  track.set(field, std::string(value));
  ValueDictionary request;
  request.set(key::kPath, std::string(path));
  request.set(key::kChangedTag, std::string(field));
  request.set(key::kTrack, std::move(track));
  return request;
}

/// The picture stored by the writer of `file`'s format, as the service stores it.
bool setCover(TagLib::File* file, const TagLib::ByteVector& image) {
  const ArtworkFormat& format = artworkFormatOf(kCoverType);
  if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(file)) {
    return setID3v2Artwork(*mpeg->ID3v2Tag(true), format.mime(), image, true);
  }
  if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(file)) {
    return setFLACArtwork(*flac, format.mime(), image, true);
  }
  auto* mp4 = dynamic_cast<TagLib::MP4::File*>(file);
  return mp4 && setMP4Artwork(*mp4->tag(), format, image, true);
}

bool move(int fd, off_t from, off_t to, std::vector<char>& buffer) {
  const auto size = static_cast<ssize_t>(buffer.size());
  return ::pread(fd, buffer.data(), buffer.size(), from) == size &&
         ::pwrite(fd, buffer.data(), buffer.size(), to) == size;
}

}  // namespace

BENCH_API bool serviceSet(const char* path, const char* field, const char* value) {
  ValueDictionary request = requestFor(path, field, value);
  return handle(path, request);
}

BENCH_API bool serviceCover(const char* path, const char* image, std::size_t size) {
  ValueDictionary request;
  request.set(key::kPath, std::string(path));
  if (image) {
    request.set(key::kArtwork, std::as_bytes(std::span(image, size)));
    request.set(key::kArtworkType, kCoverType);
    request.set(key::kReplaceArtwork, true);
  } else {
    request.set(key::kClearArtwork, true);
  }
  return handle(path, request);
}

BENCH_API bool librarySet(const char* path, const char* field, const char* value) {
  TagLib::FileRef file(path, false);
  if (file.isNull()) return false;
  const TagLib::String text(value, TagLib::String::UTF8);
  if (field == std::string(field::kTitle)) {
    file.tag()->setTitle(text);
  } else {
    file.tag()->setComment(text);
  }
  return file.save();
}

BENCH_API bool libraryCover(const char* path, const char* image, std::size_t size) {
  TagLib::FileRef file(path, false);
  if (file.isNull()) return false;
  if (image) {
    return setCover(file.file(), {image, static_cast<unsigned>(size)}) && file.save();
  }
  auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(file.file());
  if (!mpeg || !mpeg->hasID3v2Tag()) return false;
  mpeg->ID3v2Tag()->removeFrames("APIC");
  return mpeg->save(mpeg->hasID3v1Tag() ? TagLib::MPEG::File::AllTags : TagLib::MPEG::File::ID3v2);
}

/// Moves everything from offset `from` to offset `to` in blocks of 1 MiB, and nothing else.
BENCH_API bool plainMove(const char* path, std::int64_t from, std::int64_t to) {
  const UniqueFd fd(::open(path, O_RDWR | O_CLOEXEC));
  struct stat status {};
  if (::fstat(fd.get(), &status) != 0) return false;
  std::vector<char> buffer(kBlockSize);
  const off_t length = status.st_size - from;
  for (off_t done = 0; done < length; done += static_cast<off_t>(buffer.size())) {
    buffer.resize(std::min<std::size_t>(kBlockSize, static_cast<std::size_t>(length - done)));
    const auto size = static_cast<off_t>(buffer.size());
    const off_t at = to < from ? done : length - done - size;
    if (!move(fd.get(), from + at, to + at, buffer)) return false;
  }
  return to > from || ::ftruncate(fd.get(), to + length) == 0;
}

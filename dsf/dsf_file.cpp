#include "dsf/dsf_file.h"

#include <id3v2framefactory.h>
#include <id3v2header.h>

#include "dsf/stream_types.h"

namespace TagLib::DSF {
inline namespace tagwriter {
namespace {

// The DSD chunk, with which the file starts (DSF File Format Specification, version 1.01).
//   0  4  "DSD "
//   4  8  size of this chunk: not used
//  12  8  total file size: neither read nor written (see File::save)
//  20  8  pointer to the metadata chunk, 0 if there is none
constexpr const char* kDsdChunkId = "DSD ";
constexpr unsigned kChunkIdWidth = 4;
constexpr unsigned kMetadataPointerOffset = 20;
constexpr unsigned kMetadataPointerWidth = 8;

constexpr bool kMostSignificantByteFirst = false;  // in all numbers of the file

}  // namespace

class File::FilePrivate {
 public:
  /// Whether the offset is possible. It stays -1 if the pointer is beyond the end of the file; a
  /// negative pointer is taken from the file as it is.
  bool canSeek() const { return metadataOffset >= 0; }

  long long metadataOffset = -1;
  StreamSize tagSize = 0;  // on disk, with header and footer
  bool hasTag = false;     // found on disk, or written since

  // Members are destroyed in reverse order: the properties before the tag.
  std::unique_ptr<ID3v2::Tag> tag;
  std::unique_ptr<Properties> properties;
};

File::File(FileName file, bool readProperties, AudioProperties::ReadStyle /*propertiesStyle*/)
    : TagLib::File(file), d(std::make_unique<FilePrivate>()) {
  if (isOpen()) read(readProperties);
}

File::File(IOStream* stream, bool readProperties, AudioProperties::ReadStyle /*propertiesStyle*/)
    : TagLib::File(stream), d(std::make_unique<FilePrivate>()) {
  if (isOpen()) read(readProperties);
}

File::~File() = default;

ID3v2::Tag* File::tag() const {
  return d->tag.get();
}

Properties* File::audioProperties() const {
  return d->properties.get();
}

bool File::save() {
  if (readOnly() || !isValid()) return false;
  if (!d->tag) return true;

  if (d->tag->isEmpty()) {
    removeMetadata();
  } else {
    writeMetadata();
  }
  return true;
}

void File::read(bool readProperties) {
  if (!isValid()) return;

  if (readBlock(kChunkIdWidth) != kDsdChunkId) {
    setValid(false);
    return;
  }

  seek(kMetadataPointerOffset);
  const long long pointer = readBlock(kMetadataPointerWidth).toLongLong(kMostSignificantByteFirst);
  if (pointer < length()) d->metadataOffset = pointer;

  if (readProperties) d->properties = std::make_unique<Properties>(this, Properties::Average);

  if (d->metadataOffset == 0) {
    d->tag = std::make_unique<ID3v2::Tag>();
    return;
  }
  // Quirk: a pointer to nowhere counts as a tag too, so that a file in doubt is left as it is: a
  // later save writes no tag, and only removing the tag resets the pointer. TagLib parses whatever
  // is at the stream's position, usually into an empty tag.
  d->tag = std::make_unique<ID3v2::Tag>(this, static_cast<StreamOffset>(d->metadataOffset),
                                        ID3v2::FrameFactory::instance());
  d->hasTag = true;
  d->tagSize = d->tag->header()->completeTagSize();
}

void File::removeMetadata() {
  if (!d->hasTag) return;

  // Given an impossible offset, some streams, such as TagLib's own, would damage the audio.
  if (d->canSeek()) removeBlock(static_cast<StreamStart>(d->metadataOffset), d->tagSize);
  d->hasTag = false;
  d->tagSize = 0;
  d->metadataOffset = 0;
  writeMetadataPointer();
}

void File::writeMetadata() {
  if (d->hasTag) {
    const ByteVector rendered = d->tag->render();
    // As above: a tag without a valid position is not written.
    if (d->canSeek()) insert(rendered, static_cast<StreamStart>(d->metadataOffset), d->tagSize);
    d->tagSize = d->tag->header()->completeTagSize();
    return;
  }

  // Quirk: tagSize stays 0, so a second save through the same object inserts its tag before this
  // one instead of replacing it. Readers use the first. Every edit here saves once.
  d->metadataOffset = length();
  d->hasTag = true;
  writeMetadataPointer();
  seek(0, End);
  writeBlock(d->tag->render());
}

void File::writeMetadataPointer() {
  seek(kMetadataPointerOffset);
  writeBlock(ByteVector::fromLongLong(d->metadataOffset, kMostSignificantByteFirst));
}

}  // namespace tagwriter
}  // namespace TagLib::DSF

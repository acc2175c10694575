#include "io/save.h"

#include <asftag.h>
#include <flacpicture.h>
#include <xiphcomment.h>

#include <cstdint>
#include <optional>

#include "io/mp4_fragments.h"

namespace tagwriter {
namespace {

using TagLib::ByteVector;

// FLAC format, METADATA_BLOCK_HEADER: one bit that marks the last block, 7 for the type, 24 for the
// length.
constexpr unsigned kMaxBlockSize = (1U << 24) - 1;
constexpr unsigned char kLastBlockMark = 0x80;
constexpr unsigned char kCommentBlock = 4;

/// Whether the comment is so small that there is no need to render it.
bool isSmall(TagLib::Ogg::XiphComment& comment) {
  constexpr std::uint64_t kMaxBytes = 4;      // of a character in UTF-8
  constexpr std::uint64_t kPerField = 4 + 1;  // the length, and a "=" after the name
  std::uint64_t size = kPerField + kMaxBytes * comment.vendorID().size();
  for (const auto& [name, values] : comment.fieldListMap()) {
    for (const TagLib::String& value : values) {
      size += kPerField + kMaxBytes * (name.size() + value.size());
    }
  }
  return comment.pictureList().isEmpty() && size <= kMaxBlockSize;
}

bool fitsBlock(TagLib::Ogg::XiphComment* comment) {
  return !comment || isSmall(*comment) || comment->render(false).size() <= kMaxBlockSize;
}

bool fitsBlock(const TagLib::FLAC::Picture& picture) {
  // Eight 32-bit numbers, two texts and the image (FLAC format, METADATA_BLOCK_PICTURE).
  constexpr unsigned kNumbers = 8 * 4;
  const unsigned texts = picture.mimeType().data(TagLib::String::UTF8).size() +
                         picture.description().data(TagLib::String::UTF8).size();
  return picture.data().size() <= kMaxBlockSize - kNumbers &&
         texts <= kMaxBlockSize - kNumbers - picture.data().size();
}

bool canSave(TagLib::FLAC::File& file) {
  for (const TagLib::FLAC::Picture* picture : file.pictureList()) {
    if (!fitsBlock(*picture)) return false;
  }
  return fitsBlock(file.xiphComment(false));
}

bool canSave(const TagLib::Ogg::FLAC::File& file) {
  return file.hasXiphComment() && fitsBlock(file.tag());
}

bool canSave(const TagLib::ASF::File& file) {
  constexpr unsigned kMaxText = 0xffff;
  constexpr unsigned kTerminator = 2;
  const TagLib::ASF::Tag* tag = file.tag();
  if (!tag) return true;
  for (const TagLib::String& text :
       {tag->title(), tag->artist(), tag->copyright(), tag->comment(), tag->rating()}) {
    if (text.data(TagLib::String::UTF16LE).size() + kTerminator > kMaxText) return false;
  }
  return true;
}

/// The packet number of the comment if it is the last metadata block. Packet 0 is the stream's
/// header; each metadata block after it has a separate packet (Ogg mapping of FLAC).
std::optional<unsigned> lastBlockIfComment(TagLib::Ogg::FLAC::File& file) {
  for (unsigned i = 1;; ++i) {
    const ByteVector block = file.packet(i);
    if (block.isEmpty()) return std::nullopt;
    const auto header = static_cast<unsigned char>(block[0]);
    if (header == (kLastBlockMark | kCommentBlock)) return i;
    if (header & kLastBlockMark) return std::nullopt;
  }
}

/// Writes the comment as the last metadata block.
bool saveLastBlock(TagLib::Ogg::FLAC::File& file, unsigned packet) {
  const ByteVector comment = file.tag()->render(false);
  ByteVector block = ByteVector::fromUInt(comment.size());
  block[0] = static_cast<char>(kLastBlockMark | kCommentBlock);
  block.append(comment);
  file.setPacket(packet, block);
  return file.TagLib::Ogg::File::save();  // only the packets; does not render the comment again
}

template <typename Save>
bool saveKeepingLastBlock(TagLib::Ogg::FLAC::File& file, Save save) {
  const auto last = lastBlockIfComment(file);
  return last ? saveLastBlock(file, *last) : save();
}

template <typename Save>
bool saveKeepingFragments(TagLib::MP4::File& file, Save save) {
  const auto offsets = fragmentOffsets(file);
  return save() && updateFragmentOffsets(file, offsets);
}

}  // namespace

bool saveFile(TagLib::MPEG::File& file) {
  using File = TagLib::MPEG::File;
  return file.hasID3v1Tag() ? file.save() : file.save(File::AllTags & ~File::ID3v1);
}

bool saveFile(TagLib::FLAC::File& file) {
  return canSave(file) && file.save();
}

bool saveFile(TagLib::Ogg::FLAC::File& file) {
  return canSave(file) && saveKeepingLastBlock(file, [&] { return file.save(); });
}

bool saveFile(TagLib::ASF::File& file) {
  return canSave(file) && file.save();
}

bool saveFile(TagLib::MP4::File& file) {
  return saveKeepingFragments(file, [&] { return file.save(); });
}

bool saveReference(TagLib::FileRef& reference) {
  if (const auto* wma = dynamic_cast<TagLib::ASF::File*>(reference.file())) {
    return canSave(*wma) && reference.save();
  }
  if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(reference.file())) {
    return canSave(*flac) && reference.save();
  }
  if (auto* oggFlac = dynamic_cast<TagLib::Ogg::FLAC::File*>(reference.file())) {
    return canSave(*oggFlac) && saveKeepingLastBlock(*oggFlac, [&] { return reference.save(); });
  }
  if (auto* mp4 = dynamic_cast<TagLib::MP4::File*>(reference.file())) {
    return saveKeepingFragments(*mp4, [&] { return reference.save(); });
  }
  return reference.save();
}

}  // namespace tagwriter

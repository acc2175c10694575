#include "io/save.h"

#include <flacpicture.h>
#include <xiphcomment.h>

namespace tagwriter {
namespace {

constexpr unsigned kMaxBlockSize = (1U << 24) - 1;

bool fitsBlock(const TagLib::Ogg::XiphComment* comment) {
  return !comment || comment->render(false).size() <= kMaxBlockSize;
}

bool fitsBlock(const TagLib::FLAC::Picture& picture) {
  // Eight 32-bit numbers, two texts and the image (FLAC format, METADATA_BLOCK_PICTURE).
  constexpr unsigned kNumbers = 8 * 4;
  const unsigned texts = picture.mimeType().data(TagLib::String::UTF8).size() +
                         picture.description().data(TagLib::String::UTF8).size();
  return picture.data().size() <= kMaxBlockSize - kNumbers &&
         texts <= kMaxBlockSize - kNumbers - picture.data().size();
}

bool fits(TagLib::FLAC::File& file) {
  for (const TagLib::FLAC::Picture* picture : file.pictureList()) {
    if (!fitsBlock(*picture)) return false;
  }
  return fitsBlock(file.xiphComment(false));
}

bool fits(const TagLib::Ogg::FLAC::File& file) {
  return fitsBlock(file.tag());
}

}  // namespace

bool fitsItsFormat(TagLib::File& file) {
  if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(&file)) return fits(*flac);
  if (auto* oggFlac = dynamic_cast<TagLib::Ogg::FLAC::File*>(&file)) return fits(*oggFlac);
  return true;
}

bool saveFile(TagLib::MPEG::File& file) {
  using File = TagLib::MPEG::File;
  return file.hasID3v1Tag() ? file.save() : file.save(File::AllTags & ~File::ID3v1);
}

bool saveFile(TagLib::FLAC::File& file) {
  return fits(file) && file.save();
}

bool saveFile(TagLib::Ogg::FLAC::File& file) {
  return fits(file) && file.save();
}

}  // namespace tagwriter

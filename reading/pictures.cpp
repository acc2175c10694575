#include "reading/pictures.h"

#include <asfpicture.h>
#include <attachedpictureframe.h>

#include <iterator>
#include <span>

#include "artwork/artwork_format.h"

namespace tagwriter {
namespace {

using TagLib::ByteVector;

/// Picture types 0 to 20 (ID3v2.4 frames, 4.14; FLAC and ASF use the same numbers).
constexpr const char* kRoles[] = {"Other",
                                  "File Icon",
                                  "Other File Icon",
                                  "Front Cover",
                                  "Back Cover",
                                  "Leaflet Page",
                                  "Media",
                                  "Lead Artist",
                                  "Artist",
                                  "Conductor",
                                  "Band",
                                  "Composer",
                                  "Lyricist",
                                  "Recording Location",
                                  "During Recording",
                                  "During Performance",
                                  "Movie Screen Capture",
                                  "Coloured Fish",
                                  "Illustration",
                                  "Band Logo",
                                  "Publisher Logo"};
constexpr int kOtherType = 0;

std::string roleOf(int type) {
  return type >= 0 && type < static_cast<int>(std::size(kRoles)) ? kRoles[type]
                                                                 : kRoles[kOtherType];
}

/// The type of the APE item "Cover Art (`name`)".
int typeOf(const TagLib::String& name) {
  const TagLib::String names[] = {name.upper(), name.upper() + " COVER"};
  for (int type = 0; type < static_cast<int>(std::size(kRoles)); ++type) {
    const TagLib::String role = TagLib::String(kRoles[type]).upper();
    if (role == names[0] || role == names[1]) return type;
  }
  return kOtherType;
}

std::optional<ArtworkType> formatOf(const ByteVector& image) {
  return artworkTypeOf(std::as_bytes(std::span(image.data(), image.size())));
}

std::string mimeTypeOf(const ByteVector& image) {
  const auto format = formatOf(image);
  return format ? artworkFormatOf(*format).mimeType : "";
}

/// A picture without anything but its bytes.
Picture bare(const ByteVector& image) {
  return {std::nullopt, {}, mimeTypeOf(image), {}, image};
}

Picture described(int type, const TagLib::String& mimeType, const TagLib::String& description,
                  const ByteVector& image) {
  return {type, roleOf(type), mimeType.isEmpty() ? mimeTypeOf(image) : mimeType.to8Bit(true),
          description.to8Bit(true), image};
}

}  // namespace

void addPictures(TagLib::ID3v2::Tag& tag, Pictures& pictures) {
  for (TagLib::ID3v2::Frame* frame : tag.frameList("APIC")) {
    const auto* picture = dynamic_cast<TagLib::ID3v2::AttachedPictureFrame*>(frame);
    if (!picture) continue;
    pictures.push_back(described(picture->type(), picture->mimeType(), picture->description(),
                                 picture->picture()));
  }
}

void addPictures(TagLib::MP4::Tag& tag, Pictures& pictures) {
  for (const auto& cover : tag.item("covr").toCoverArtList()) {
    pictures.push_back(bare(cover.data()));
  }
}

void addPictures(TagLib::Ogg::XiphComment& comment, Pictures& pictures) {
  addPictures(comment.pictureList(), pictures);
}

/// An attribute holds either the picture structure of the format, or only the bytes of an image.
void addPictures(TagLib::ASF::Tag& tag, Pictures& pictures) {
  for (const auto& attribute : tag.attribute("WM/Picture")) {
    const TagLib::ASF::Picture picture = attribute.toPicture();
    const ByteVector bytes = attribute.toByteVector();
    if (!formatOf(bytes) && picture.isValid()) {
      pictures.push_back(
          described(picture.type(), picture.mimeType(), picture.description(), picture.picture()));
    } else {
      pictures.push_back(bare(bytes));
    }
  }
}

/// Items called "Cover Art (...)" hold a file name, a zero byte and the image.
void addPictures(TagLib::APE::Tag& tag, Pictures& pictures) {
  constexpr unsigned kPrefix = sizeof "Cover Art (" - 1;
  for (const auto& [key, item] : tag.itemListMap()) {
    if (!key.startsWith("COVER ART (") || item.type() != TagLib::APE::Item::Binary) continue;
    const ByteVector value = item.binaryData();
    const int end = value.find('\0');
    if (end < 0) continue;
    const std::string name = item.key().to8Bit(true);
    const std::string inBrackets = name.substr(kPrefix, name.size() - kPrefix - 1);
    const ByteVector fileName = value.mid(0, static_cast<unsigned>(end));
    const ByteVector image = value.mid(static_cast<unsigned>(end) + 1);
    const TagLib::String role(inBrackets, TagLib::String::UTF8);
    pictures.push_back({typeOf(role), inBrackets + " Cover", mimeTypeOf(image),
                        TagLib::String(fileName, TagLib::String::UTF8).to8Bit(true), image});
  }
}

void addPictures(const TagLib::List<TagLib::FLAC::Picture*>& blocks, Pictures& pictures) {
  for (TagLib::FLAC::Picture* picture : blocks) {
    pictures.push_back(
        described(picture->type(), picture->mimeType(), picture->description(), picture->data()));
  }
}

}  // namespace tagwriter

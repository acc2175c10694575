#include "reading/pictures.h"

#include <apetag.h>
#include <asfpicture.h>
#include <attachedpictureframe.h>
#include <flacpicture.h>
#include <id3v2tag.h>
#include <mp4tag.h>
#include <xiphcomment.h>

#include <iterator>

#include "base/unique_fd.h"
#include "io/audio_file.h"
#include "io/own_tag.h"

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

std::string roleOf(int type) {
  return type >= 0 && type < static_cast<int>(std::size(kRoles)) ? kRoles[type] : kRoles[0];
}

PictureInfo describe(const ByteVector& image, std::string mimeType, std::string role) {
  const auto bytes = std::as_bytes(std::span(image.data(), static_cast<std::size_t>(image.size())));
  if (mimeType.empty()) {
    if (const auto type = imageTypeOf(bytes)) mimeType = artworkFormatOf(*type).mimeType;
  }
  return {std::move(role), std::move(mimeType), bytes.size(), dimensionsOf(bytes)};
}

/// Lists the pictures in the file's own tag, and the picture blocks of a FLAC file.
class PictureList {
 public:
  explicit PictureList(std::vector<PictureInfo>& pictures) : pictures_(pictures) {}

  template <typename File>
  bool operator()(File& file) const {
    return add(ownTag(file, IfMissing::kNull));
  }
  bool operator()(TagLib::FLAC::File& file) const {
    add(file.pictureList());
    return add(ownTag(file, IfMissing::kNull));
  }

 private:
  bool add(TagLib::ID3v2::Tag* tag) const {
    if (!tag) return false;
    for (TagLib::ID3v2::Frame* frame : tag->frameList("APIC")) {
      const auto* picture = dynamic_cast<TagLib::ID3v2::AttachedPictureFrame*>(frame);
      if (!picture) continue;
      add(picture->picture(), picture->mimeType(), roleOf(picture->type()));
    }
    return true;
  }

  bool add(TagLib::MP4::Tag* tag) const {
    if (!tag) return false;
    for (const auto& cover : tag->item("covr").toCoverArtList()) add(cover.data());
    return true;
  }

  bool add(TagLib::Ogg::XiphComment* comment) const {
    if (comment) add(comment->pictureList());
    return comment != nullptr;
  }

  void add(const TagLib::List<TagLib::FLAC::Picture*>& pictures) const {
    for (TagLib::FLAC::Picture* picture : pictures) {
      add(picture->data(), picture->mimeType(), roleOf(picture->type()));
    }
  }

  /// An attribute holds either the picture structure of the format, or only the bytes of an image.
  bool add(TagLib::ASF::Tag* tag) const {
    if (!tag) return false;
    for (const auto& attribute : tag->attribute("WM/Picture")) {
      const TagLib::ASF::Picture picture = attribute.toPicture();
      const ByteVector bytes = attribute.toByteVector();
      if (!isImage(bytes) && picture.isValid()) {
        add(picture.picture(), picture.mimeType(), roleOf(picture.type()));
      } else {
        add(bytes);
      }
    }
    return true;
  }

  /// Items called "Cover Art (...)" hold a file name, a zero byte and the image.
  bool add(TagLib::APE::Tag* tag) const {
    if (!tag) return false;
    for (const auto& [key, item] : tag->itemListMap()) {
      if (!key.startsWith("COVER ART (") || item.type() != TagLib::APE::Item::Binary) continue;
      const ByteVector value = item.binaryData();
      const int end = value.find('\0');
      if (end < 0) continue;
      const std::string name = item.key().to8Bit(true);
      constexpr std::size_t kPrefix = sizeof "Cover Art (" - 1;
      add(value.mid(static_cast<unsigned>(end) + 1), {},
          name.substr(kPrefix, name.size() - kPrefix - 1) + " Cover");
    }
    return true;
  }

  static bool isImage(const ByteVector& bytes) {
    return imageTypeOf(std::as_bytes(std::span(bytes.data(), bytes.size()))).has_value();
  }

  void add(const ByteVector& image, const TagLib::String& mimeType = {},
           std::string role = {}) const {
    pictures_.push_back(describe(image, mimeType.to8Bit(true), std::move(role)));
  }

  std::vector<PictureInfo>& pictures_;
};

}  // namespace

std::vector<PictureInfo> readPictures(int fd, const std::string& path) {
  std::vector<PictureInfo> pictures;
  withAudioFileToRead(duplicateFd(fd), path.c_str(), PictureList(pictures));
  return pictures;
}

}  // namespace tagwriter

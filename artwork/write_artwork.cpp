#include "artwork/write_artwork.h"

#include <utility>

#include "artwork/picture_stores.h"
#include "io/audio_file.h"
#include "io/own_tag.h"
#include "io/save.h"
#include "protocol/keys.h"

namespace tagwriter {
namespace {

/// Stores the picture in the file's own tag, which is created if it is missing, or in a block of a
/// FLAC file. The file must be valid, and is saved only if the picture was stored.
class ArtworkWrite {
 public:
  ArtworkWrite(const TagLib::ByteVector& image, std::int64_t type, bool replace)
      : image_(image),
        type_(type),
        format_(artworkFormatOf(type)),
        mime_(format_.mime()),
        replace_(replace) {}

  template <typename File>
  bool operator()(File& file) const {
    if (!file.isValid()) return false;
    auto* tag = ownTag(file, IfMissing::kCreate);
    return tag && store(*tag) && saveFile(file);
  }
  bool operator()(TagLib::FLAC::File& file) const {
    return file.isValid() && setFLACArtwork(file, mime_, image_, replace_) && saveFile(file);
  }

  // Quirk: Ogg files need not be valid, and are saved even if the picture was not stored.
  bool operator()(TagLib::Vorbis::File& file) const { return storeInOgg(file); }
  bool operator()(TagLib::Ogg::FLAC::File& file) const { return storeInOgg(file); }
  bool operator()(TagLib::Ogg::Opus::File& file) const { return storeInOgg(file); }

 private:
  bool store(TagLib::ID3v2::Tag& tag) const {
    return setID3v2Artwork(tag, mime_, image_, replace_);
  }
  bool store(TagLib::MP4::Tag& tag) const { return setMP4Artwork(tag, format_, image_, replace_); }
  bool store(TagLib::ASF::Tag& tag) const { return setASFArtwork(tag, image_, replace_); }
  bool store(TagLib::APE::Tag& tag) const { return setAPEArtwork(tag, image_, type_, replace_); }

  template <typename File>
  bool storeInOgg(File& file) const {
    auto* comment = ownTag(file, IfMissing::kCreate);
    if (!comment) return false;
    setXiphArtwork(*comment, image_, mime_, replace_);
    return saveFile(file);
  }

  const TagLib::ByteVector& image_;
  std::int64_t type_;
  const ArtworkFormat& format_;
  TagLib::String mime_;
  bool replace_;
};

}  // namespace

bool writeArtwork(UniqueFd fd, const char* path, std::optional<std::span<const std::byte>> image,
                  std::int64_t artworkType, const Dictionary& request) {
  if (!path || !image) return false;
  const bool replace = request.getBool(key::kReplaceArtwork);
  // TagLib needs its own copy. It is the only one.
  const TagLib::ByteVector bytes(reinterpret_cast<const char*>(image->data()),
                                 static_cast<unsigned>(image->size()));
  return withAudioFile(std::move(fd), path, request, ArtworkWrite(bytes, artworkType, replace));
}

}  // namespace tagwriter

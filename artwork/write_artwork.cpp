#include "artwork/write_artwork.h"

#include "artwork/picture_stores.h"
#include "base/unique_fd.h"
#include "io/audio_file.h"
#include "io/owning_stream.h"
#include "io/save.h"
#include "protocol/keys.h"

namespace tagwriter {
namespace {

/// The matrix: for each file class, whether it must be valid, where the picture goes and when the
/// file is saved.
class ArtworkWrite {
 public:
  ArtworkWrite(const TagLib::ByteVector& image, const ArtworkFormat& format, bool replace)
      : image_(image), format_(format), mime_(format.mime()), replace_(replace) {}

  bool operator()(TagLib::MPEG::File& f) const { return f.isValid() && id3v2(f, f.ID3v2Tag(true)); }
  bool operator()(TagLib::RIFF::AIFF::File& f) const { return f.isValid() && id3v2(f, f.tag()); }
  bool operator()(TagLib::RIFF::WAV::File& f) const { return f.isValid() && id3v2(f, f.tag()); }
  bool operator()(TagLib::DSF::File& f) const { return f.isValid() && id3v2(f, f.tag()); }

  bool operator()(TagLib::APE::File& f) const { return f.isValid() && ape(f, f.APETag(true)); }
  bool operator()(TagLib::WavPack::File& f) const { return f.isValid() && ape(f, f.APETag(true)); }
  bool operator()(TagLib::MPC::File& f) const { return f.isValid() && ape(f, f.APETag(true)); }

  bool operator()(TagLib::Vorbis::File& f) const { return xiph(f, f.tag()); }
  bool operator()(TagLib::Ogg::FLAC::File& f) const { return xiph(f, f.tag()); }
  bool operator()(TagLib::Ogg::Opus::File& f) const { return xiph(f, f.tag()); }

  bool operator()(TagLib::MP4::File& f) const {
    return f.isValid() && f.tag() && setMP4Artwork(*f.tag(), format_, image_, replace_) &&
           saveFile(f);
  }
  bool operator()(TagLib::FLAC::File& f) const {
    return f.isValid() && setFLACArtwork(f, mime_, image_, replace_) && saveFile(f);
  }
  bool operator()(TagLib::ASF::File& f) const {
    return f.isValid() && f.tag() && setASFArtwork(*f.tag(), image_, replace_) && saveFile(f);
  }

 private:
  template <typename File>
  bool id3v2(File& file, TagLib::ID3v2::Tag* tag) const {
    return tag && setID3v2Artwork(*tag, mime_, image_, replace_) && saveFile(file);
  }

  template <typename File>
  bool ape(File& file, TagLib::APE::Tag* tag) const {
    return tag && setAPEArtwork(*tag, image_, format_, replace_) && saveFile(file);
  }

  /// Saved whether the picture went in or not (kept).
  template <typename File>
  bool xiph(File& file, TagLib::Ogg::XiphComment* comment) const {
    if (!comment) return false;
    setXiphArtwork(*comment, image_, mime_, replace_);
    return saveFile(file);
  }

  const TagLib::ByteVector& image_;
  const ArtworkFormat& format_;
  TagLib::String mime_;
  bool replace_;
};

}  // namespace

bool writeArtwork(int fd, const char* path, std::optional<std::span<const std::byte>> image,
                  std::int64_t artworkType, const Dictionary& request) {
  if (!path || !image) {
    UniqueFd(fd).reset();
    return false;
  }
  const bool replace = request.getBool(key::kReplaceArtwork);
  // The library's own copy, and the only one.
  const TagLib::ByteVector bytes(reinterpret_cast<const char*>(image->data()),
                                 static_cast<unsigned>(image->size()));
  const TagFileType type = tagFileTypeForPath(path);
  OwningStream stream(fd, path, &request);
  return withAudioFile(type, fd, stream,
                       ArtworkWrite(bytes, artworkFormatOf(artworkType), replace));
}

}  // namespace tagwriter

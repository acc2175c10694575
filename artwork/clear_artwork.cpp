#include "artwork/clear_artwork.h"

#include "artwork/picture_stores.h"
#include "io/audio_file.h"
#include "io/owning_stream.h"
#include "io/save.h"

namespace tagwriter {
namespace {

/// The matrix: for each file class, where its pictures are and when the file is saved. Whether the
/// file is valid is never asked, only whether there is a tag in it.
struct ArtworkClear {
  bool operator()(TagLib::MPEG::File& f) const {
    return f.hasID3v2Tag() && id3v2(f, f.ID3v2Tag(false));
  }
  bool operator()(TagLib::RIFF::AIFF::File& f) const {
    return f.hasID3v2Tag() && id3v2(f, f.tag());
  }
  bool operator()(TagLib::RIFF::WAV::File& f) const { return f.hasID3v2Tag() && id3v2(f, f.tag()); }
  bool operator()(TagLib::DSF::File& f) const { return f.hasID3v2Tag() && id3v2(f, f.tag()); }

  bool operator()(TagLib::APE::File& f) const { return f.hasAPETag() && ape(f, f.APETag(false)); }
  bool operator()(TagLib::WavPack::File& f) const {
    return f.hasAPETag() && ape(f, f.APETag(false));
  }
  bool operator()(TagLib::MPC::File& f) const { return ape(f, f.APETag(true)); }

  bool operator()(TagLib::Vorbis::File& f) const { return xiph(f, f.tag()); }
  bool operator()(TagLib::Ogg::FLAC::File& f) const { return xiph(f, f.tag()); }
  bool operator()(TagLib::Ogg::Opus::File& f) const { return xiph(f, f.tag()); }

  bool operator()(TagLib::MP4::File& f) const {
    if (!f.tag()) return false;
    removeMP4Artwork(*f.tag());
    return saveFile(f);
  }
  /// The picture blocks only; pictures inside the comment stay (kept).
  bool operator()(TagLib::FLAC::File& f) const {
    if (f.pictureList().isEmpty()) return false;
    f.removePictures();
    return saveFile(f);
  }
  bool operator()(TagLib::ASF::File& f) const {
    if (!f.tag()) return false;
    f.tag()->removeItem("WM/Picture");
    return saveFile(f);
  }

 private:
  template <typename File>
  static bool id3v2(File& file, TagLib::ID3v2::Tag* tag) {
    if (!tag) return false;
    removeID3v2Artwork(*tag);
    return saveFile(file);
  }

  template <typename File>
  static bool ape(File& file, TagLib::APE::Tag* tag) {
    if (!tag) return false;
    removeAPEArtwork(*tag);
    return saveFile(file);
  }

  template <typename File>
  static bool xiph(File& file, TagLib::Ogg::XiphComment* comment) {
    if (!comment) return false;
    comment->removeAllPictures();
    return saveFile(file);
  }
};

}  // namespace

bool clearArtwork(int fd, const char* path, const Dictionary& request) {
  const TagFileType type = tagFileTypeForPath(path);
  OwningStream stream(fd, path, &request);
  return withAudioFile(type, fd, stream, ArtworkClear());
}

}  // namespace tagwriter

#include "artwork/clear_artwork.h"

#include <utility>

#include "artwork/picture_stores.h"
#include "io/audio_file.h"
#include "io/own_tag.h"
#include "io/save.h"

namespace tagwriter {
namespace {

/// Removes the pictures from the file's own tag, if it has one, and saves, even if there was no
/// picture. Does not check whether the file is valid.
struct ArtworkClear {
  template <typename File>
  bool operator()(File& file) const {
    return clear(file, IfMissing::kNull);
  }

  /// Quirk: a Musepack file without a tag gets an empty one.
  bool operator()(TagLib::MPC::File& file) const { return clear(file, IfMissing::kCreate); }

  /// Quirk: removes only the picture blocks, not pictures in the comment. Only this format returns
  /// false if there is no picture.
  bool operator()(TagLib::FLAC::File& file) const {
    if (file.pictureList().isEmpty()) return false;
    file.removePictures();
    return saveFile(file);
  }

 private:
  template <typename File>
  static bool clear(File& file, IfMissing missing) {
    auto* tag = ownTag(file, missing);
    if (!tag) return false;
    removeArtwork(*tag);
    return saveFile(file);
  }
};

}  // namespace

bool clearArtwork(UniqueFd fd, const char* path, const Dictionary& request) {
  return withAudioFile(std::move(fd), path, request, ArtworkClear());
}

}  // namespace tagwriter

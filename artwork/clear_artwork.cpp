#include "artwork/clear_artwork.h"

#include <utility>

#include "artwork/picture_stores.h"
#include "io/audio_file.h"
#include "io/own_tag.h"
#include "io/save.h"

namespace tagwriter {
namespace {

/// Clears the file's own tag where there is one, and saves, whether there was a picture or not. A
/// file is judged by its tag alone, not by whether it is valid.
struct ArtworkClear {
  template <typename File>
  bool operator()(File& file) const {
    return clear(file, IfMissing::kNull);
  }

  /// Quirk: a Musepack file gets an empty tag to clear.
  bool operator()(TagLib::MPC::File& file) const { return clear(file, IfMissing::kCreate); }

  /// Quirk: the picture blocks only; pictures inside the comment stay. And only here it is false
  /// when there is no picture.
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

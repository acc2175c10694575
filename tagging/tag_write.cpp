#include "tagging/tag_write.h"

#include <exception>

#include "base/log.h"
#include "io/audio_file.h"
#include "io/owning_stream.h"
#include "io/save.h"

namespace tagwriter {
namespace {

/// The matrix: for each file class the tag that is edited and the editor that does it. Only this
/// one tag is touched: no ID3 tag in a FLAC file, no ID3v1 tag behind an APE tag, no INFO list in a
/// WAV.
class TagWrite {
 public:
  explicit TagWrite(const VQNTagWritingBlocks& editors) : editors_(editors) {}

  bool operator()(TagLib::MP4::File& f) const { return edit(f, f.tag(), editors_.mp4Block); }
  bool operator()(TagLib::FLAC::File& f) const {
    return edit(f, f.xiphComment(true), editors_.xiphBlock);
  }
  bool operator()(TagLib::Vorbis::File& f) const { return edit(f, f.tag(), editors_.xiphBlock); }
  bool operator()(TagLib::Ogg::FLAC::File& f) const { return edit(f, f.tag(), editors_.xiphBlock); }
  bool operator()(TagLib::Ogg::Opus::File& f) const { return edit(f, f.tag(), editors_.xiphBlock); }
  bool operator()(TagLib::ASF::File& f) const { return edit(f, f.tag(), editors_.asfBlock); }
  bool operator()(TagLib::RIFF::AIFF::File& f) const {
    return edit(f, f.tag(), editors_.id3v2Block);
  }
  bool operator()(TagLib::RIFF::WAV::File& f) const {
    return edit(f, f.ID3v2Tag(), editors_.id3v2Block);
  }
  bool operator()(TagLib::DSF::File& f) const { return edit(f, f.tag(), editors_.id3v2Block); }
  bool operator()(TagLib::APE::File& f) const { return edit(f, f.APETag(true), editors_.apeBlock); }
  bool operator()(TagLib::WavPack::File& f) const {
    return edit(f, f.APETag(true), editors_.apeBlock);
  }
  bool operator()(TagLib::MPC::File& f) const { return edit(f, f.APETag(true), editors_.apeBlock); }

  /// An MPEG file may carry two tags that are edited; the ID3v1 tag only when it is in the file.
  bool operator()(TagLib::MPEG::File& file) const {
    const bool id3v2Edited = apply(file.ID3v2Tag(true), editors_.id3v2Block);
    const bool id3v1Edited = file.hasID3v1Tag() && apply(file.ID3v1Tag(false), editors_.id3v1Block);
    return (id3v2Edited || id3v1Edited) && saveFile(file);
  }

 private:
  /// Runs the editor when there are both a tag and an editor; returns whether it ran.
  template <typename Tag>
  static bool apply(Tag* tag, const FieldEditor<Tag>& editor) {
    if (!tag || !editor) return false;
    editor(tag);
    return true;
  }

  template <typename File, typename Tag>
  static bool edit(File& file, Tag* tag, const FieldEditor<Tag>& editor) {
    return apply(tag, editor) && saveFile(file);
  }

  const VQNTagWritingBlocks& editors_;
};

}  // namespace

bool writeTagToFile(int fd, const char* path, const VQNTagWritingBlocks& editors,
                    const Dictionary& request) {
  try {
    const TagFileType type = tagFileTypeForPath(path);
    OwningStream stream(fd, path, &request);
    return withAudioFile(type, fd, stream, TagWrite(editors));
  } catch (const std::exception& error) {
    logLine("writeTagToFile exception: %s", error.what());
    return false;
  }
}

}  // namespace tagwriter

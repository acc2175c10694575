#include "tagging/cue_sheet.h"

#include <optional>

#include "io/audio_file.h"
#include "io/owning_stream.h"
#include "io/save.h"
#include "tagging/strings.h"

namespace tagwriter {
namespace {

constexpr char kCueSheet[] = "CUESHEET";

/// One overload a file class that takes a cue sheet.
class CueSheetWrite {
 public:
  /// Nothing stands for a cue sheet that goes away.
  explicit CueSheetWrite(const std::optional<TagLib::String>& text) : text_(text) {}

  bool operator()(TagLib::FLAC::File& f) const {
    return addXiph(f, f.hasXiphComment() ? f.xiphComment(false) : nullptr);
  }
  bool operator()(TagLib::Vorbis::File& f) const { return addXiph(f, f.tag()); }
  bool operator()(TagLib::Ogg::FLAC::File& f) const { return addXiph(f, f.tag()); }
  bool operator()(TagLib::Ogg::Opus::File& f) const { return addXiph(f, f.tag()); }
  bool operator()(TagLib::APE::File& f) const { return addAPE(f); }
  bool operator()(TagLib::WavPack::File& f) const { return addAPE(f); }

 private:
  template <typename File>
  bool addXiph(File& file, TagLib::Ogg::XiphComment* comment) const {
    if (!file.isValid()) return false;
    if (text_) {
      addXiphCueSheet(comment, *text_);
    } else if (comment) {
      comment->removeFields(kCueSheet);
    }
    return saveFile(file);
  }

  template <typename File>
  bool addAPE(File& file) const {
    if (!file.hasAPETag()) return false;
    if (text_) {
      addAPECueSheet(file.APETag(false), *text_);
    } else {
      file.APETag(false)->removeItem(kCueSheet);
    }
    return saveFile(file);
  }

  const std::optional<TagLib::String>& text_;
};

}  // namespace

void addXiphCueSheet(TagLib::Ogg::XiphComment* comment, const TagLib::String& text) {
  if (comment) comment->addField(kCueSheet, text, true);
}

void addAPECueSheet(TagLib::APE::Tag* tag, const TagLib::String& text) {
  if (tag) tag->addValue(kCueSheet, text, true);
}

bool writeCueSheet(int fd, const char* path, const char* cueSheet, const Dictionary& request) {
  std::optional<TagLib::String> text;
  if (cueSheet) text = toTagString(cueSheet);
  const TagFileType type = tagFileTypeForPath(path);
  OwningStream stream(fd, path, &request);
  return withAudioFile(type, fd, stream, CueSheetWrite(text));
}

}  // namespace tagwriter

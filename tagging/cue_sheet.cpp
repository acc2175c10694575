#include "tagging/cue_sheet.h"

#include <utility>

#include "io/audio_file.h"
#include "io/own_tag.h"
#include "io/save.h"
#include "tagging/strings.h"

namespace tagwriter {
namespace {

/// Accepts the file classes that can have a cue sheet.
class CueSheetWrite {
 public:
  explicit CueSheetWrite(const char* cueSheet) : cueSheet_(cueSheet) {}

  bool operator()(TagLib::FLAC::File& file) const { return intoXiph(file); }
  bool operator()(TagLib::Vorbis::File& file) const { return intoXiph(file); }
  bool operator()(TagLib::Ogg::FLAC::File& file) const { return intoXiph(file); }
  bool operator()(TagLib::Ogg::Opus::File& file) const { return intoXiph(file); }
  bool operator()(TagLib::APE::File& file) const { return intoAPE(file); }
  bool operator()(TagLib::WavPack::File& file) const { return intoAPE(file); }

 private:
  /// The file must be valid. It is saved even if it has no comment.
  template <typename File>
  bool intoXiph(File& file) const {
    if (!file.isValid()) return false;
    if (auto* comment = ownTag(file, IfMissing::kNull)) setCueSheet(*comment, cueSheet_);
    return saveFile(file);
  }

  /// The file must have a tag, but need not be valid.
  template <typename File>
  bool intoAPE(File& file) const {
    auto* tag = ownTag(file, IfMissing::kNull);
    if (!tag) return false;
    setCueSheet(*tag, cueSheet_);
    return saveFile(file);
  }

  const char* cueSheet_;
};

}  // namespace

void addXiphCueSheet(TagLib::Ogg::XiphComment* comment, const TagLib::String& text) {
  if (comment) comment->addField(kCueSheetName, text, true);
}

void addAPECueSheet(TagLib::APE::Tag* tag, const TagLib::String& text) {
  if (tag) tag->addValue(kCueSheetName, text, true);
}

void setCueSheet(TagLib::Ogg::XiphComment& comment, const char* cueSheet) {
  if (cueSheet) {
    addXiphCueSheet(&comment, toTagString(cueSheet));
  } else {
    comment.removeFields(kCueSheetName);
  }
}

void setCueSheet(TagLib::APE::Tag& tag, const char* cueSheet) {
  if (cueSheet) {
    addAPECueSheet(&tag, toTagString(cueSheet));
  } else {
    tag.removeItem(kCueSheetName);
  }
}

bool writeCueSheet(UniqueFd fd, const char* path, const char* cueSheet, const Dictionary& request) {
  return withAudioFile(std::move(fd), path, request, CueSheetWrite(cueSheet));
}

}  // namespace tagwriter

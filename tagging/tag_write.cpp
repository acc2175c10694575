#include "tagging/tag_write.h"

#include <exception>
#include <utility>

#include "base/log.h"
#include "io/audio_file.h"
#include "io/own_tag.h"
#include "io/save.h"

namespace tagwriter {
namespace {

/// Edits the file's own tag, and creates it if it is missing. Does not check whether the file is
/// valid: a damaged file has no tag, or its save fails.
class TagWrite {
 public:
  explicit TagWrite(const VQNTagWritingBlocks& editors) : editors_(editors) {}

  template <typename File>
  bool operator()(File& file) const {
    return edit(ownTag(file, IfMissing::kCreate)) && saveFile(file);
  }

  /// In an MPEG file, two tags may be edited. An ID3v1 tag is never created.
  bool operator()(TagLib::MPEG::File& file) const {
    const bool id3v2Edited = edit(ownTag(file, IfMissing::kCreate));
    const bool id3v1Edited = file.hasID3v1Tag() && edit(file.ID3v1Tag(false));
    return (id3v2Edited || id3v1Edited) && saveFile(file);
  }

 private:
  /// Runs the family's editor if there are both a tag and an editor; returns whether it ran.
  template <typename Tag>
  bool edit(Tag* tag) const {
    const auto& editor = editors_.of(tag);
    if (!tag || !editor) return false;
    editor(tag);
    return true;
  }

  const VQNTagWritingBlocks& editors_;
};

}  // namespace

bool writeTagToFile(UniqueFd fd, const char* path, const VQNTagWritingBlocks& editors,
                    const Dictionary& request) {
  try {
    return withAudioFile(std::move(fd), path, request, TagWrite(editors));
  } catch (const std::exception& error) {
    logLine("writeTagToFile exception: %s", error.what());
    return false;
  }
}

}  // namespace tagwriter

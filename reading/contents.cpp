#include "reading/contents.h"

#include <fileref.h>

#include <type_traits>
#include <utility>

#include "dsf/dsf_file_type_resolver.h"
#include "io/audio_file.h"
#include "io/own_tag.h"

namespace tagwriter {
namespace {

/// Reads what the service stores in the file's own tag.
class OwnTagReader {
 public:
  explicit OwnTagReader(Contents& contents) : contents_(contents) {}

  template <typename File>
  bool operator()(File& file) const {
    contents_.isAudio = contents_.isReadable && file.isValid();
    if constexpr (std::is_same_v<File, TagLib::FLAC::File>) {
      addPictures(file.pictureList(), contents_.pictures);
    }
    if constexpr (std::is_same_v<File, TagLib::RIFF::WAV::File>) {
      // Null for a file that TagLib could not open.
      if (const auto* info = file.InfoTag()) addGenericFields(*info, contents_.info);
    }
    auto* tag = ownTag(file, IfMissing::kNull);
    if (!tag) return false;
    contents_.isTagged = true;
    addOtherFields(*tag, contents_.fields);
    addPictures(*tag, contents_.pictures);
    return true;
  }

 private:
  Contents& contents_;
};

/// Reads what TagLib finds in any tag of the file.
void readAnyTag(TagLib::StagedStream& stream, Contents& contents) {
  const TagLib::FileRef file(&stream, false);
  if (file.isNull()) return;
  contents.isReadable = true;
  contents.tags = tagsIn(*file.file());
  if (const TagLib::Tag* tag = file.tag()) addCoreFields(*tag, contents.fields);
}

}  // namespace

Contents readContents(UniqueFd fd, const char* path) {
  TagLib::registerDSFFileTypeResolver();
  Contents contents;
  const CpuLimit limit(kMaxPlanningSeconds);
  withStreamToRead(std::move(fd), path, [&](TagLib::StagedStream& stream) {
    readAnyTag(stream, contents);
    stream.clear();
    stream.seek(0, TagLib::IOStream::Beginning);
    return openAudioFile(tagFileTypeForPath(path), stream, OwnTagReader(contents));
  });
  return contents;
}

}  // namespace tagwriter

// A file's own tag: the one that the service edits in files of its format.
//
// Other tags in the file are not edited: ID3 in a FLAC file, ID3v1 after an APE tag, the INFO list
// of a WAV file. The exception is the ID3v1 tag of an MPEG file (tagging/tag_write.cpp). The
// pictures of a FLAC file belong to the file, not to its tag.
#pragma once

#include <type_traits>

#include "io/audio_file.h"

namespace tagwriter {

/// What to do if the file does not have this tag.
enum class IfMissing {
  kCreate,  ///< create an empty one
  kNull,    ///< return null
};

// MP3, Monkey's Audio, WavPack, Musepack and FLAC files may lack their tag. TagLib often returns an
// empty tag even with create = false, so check first whether the file has one.

inline TagLib::ID3v2::Tag* ownTag(TagLib::MPEG::File& file, IfMissing missing) {
  const bool create = missing == IfMissing::kCreate;
  return create || file.hasID3v2Tag() ? file.ID3v2Tag(create) : nullptr;
}

inline TagLib::Ogg::XiphComment* ownTag(TagLib::FLAC::File& file, IfMissing missing) {
  const bool create = missing == IfMissing::kCreate;
  return create || file.hasXiphComment() ? file.xiphComment(create) : nullptr;
}

template <typename File>
concept MayHaveAPETag = std::is_same_v<File, TagLib::APE::File> ||
    std::is_same_v<File, TagLib::WavPack::File> || std::is_same_v<File, TagLib::MPC::File>;

template <MayHaveAPETag File>
TagLib::APE::Tag* ownTag(File& file, IfMissing missing) {
  const bool create = missing == IfMissing::kCreate;
  return create || file.hasAPETag() ? file.APETag(create) : nullptr;
}

/// Not tag(), which in later series of TagLib is a union with the INFO list.
inline TagLib::ID3v2::Tag* ownTag(TagLib::RIFF::WAV::File& file, IfMissing /*missing*/) {
  return file.ID3v2Tag();
}

/// For all other formats, TagLib always returns a tag, or null if the file is damaged: Xiph comment
/// in Ogg, ID3v2 in AIFF and DSF, MP4, ASF.
template <typename File>
auto* ownTag(File& file, IfMissing /*missing*/) {
  return file.tag();
}

}  // namespace tagwriter

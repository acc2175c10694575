// Which tag is a file's own: the one that the service writes for its format.
//
// Other tags that a file may carry are left alone: ID3 in a FLAC file, ID3v1 behind an APE tag, the
// INFO list of a WAV. Only an MPEG file has a second one that is edited, its ID3v1 tag
// (tagging/tag_write.cpp). The pictures of a FLAC file are the file's, not the tag's.
#pragma once

#include <type_traits>

#include "io/audio_file.h"

namespace tagwriter {

/// What happens when the file has no tag of its own.
enum class IfMissing {
  kCreate,  ///< an empty one is made
  kNull,    ///< there is none to work on
};

// MP3, Monkey's Audio, WavPack, Musepack and FLAC files may lack their tag. TagLib often makes an
// object even when it is told not to, so the file is asked first.

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

/// Every other format always has its tag, unless the file is damaged (null): Xiph comment in Ogg,
/// ID3v2 in AIFF and DSF, MP4, ASF.
template <typename File>
auto* ownTag(File& file, IfMissing /*missing*/) {
  return file.tag();
}

}  // namespace tagwriter

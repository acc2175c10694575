// How the tag families name the image formats.
#pragma once

#include <mp4coverart.h>
#include <tstring.h>

#include <cstdint>

#include "protocol/artwork_type.h"

namespace tagwriter {

/// How the tag families name an image format.
struct ArtworkFormat {
  std::int64_t type;
  const char* mimeType;                     ///< ID3v2, FLAC, Xiph; null if unknown
  TagLib::MP4::CoverArt::Format mp4Format;  ///< MP4
  const char* apeFileName;                  ///< APE

  /// The MIME type as a TagLib string; the null string if it is unknown.
  TagLib::String mime() const { return mimeType ? TagLib::String(mimeType) : TagLib::String(); }
};

/// Returns the names for `type`. Quirk: a value that is not an ArtworkType gets no MIME type, the
/// MP4 format Unknown, and the APE file name of a JPEG.
const ArtworkFormat& artworkFormatOf(std::int64_t type);

}  // namespace tagwriter

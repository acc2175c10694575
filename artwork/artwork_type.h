// The image formats of an artwork request.
#pragma once

#include <mp4coverart.h>
#include <tstring.h>

#include <cstdint>

namespace tagwriter {

/// The "artworktype" of a request. The values are fixed.
enum ArtworkType : std::int64_t {
  kArtworkPNG = 1,
  kArtworkJPEG = 2,
  kArtworkTIFF = 3,
  kArtworkGIF = 4,
  kArtworkBMP = 5,
};

/// The names of an image format in the tag families.
struct ArtworkFormat {
  std::int64_t type;
  const char* mimeType;                     ///< ID3v2, FLAC, Xiph; null when not known
  TagLib::MP4::CoverArt::Format mp4Format;  ///< MP4
  const char* apeFileName;                  ///< APE

  /// The MIME type as a TagLib string; the null string when it is not known.
  TagLib::String mime() const { return mimeType ? TagLib::String(mimeType) : TagLib::String(); }
};

/// The names of the image format `type`. Quirk: any value that is no ArtworkType has no MIME type,
/// an unknown MP4 format and, in APE, the file name of a JPEG.
const ArtworkFormat& artworkFormatOf(std::int64_t type);

}  // namespace tagwriter

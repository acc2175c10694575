#include "artwork/artwork_format.h"

namespace tagwriter {
namespace {

using TagLib::MP4::CoverArt;

// Quirk: TIFF is Unknown in MP4, which has no code for it.
constexpr ArtworkFormat kFormats[] = {
    {kArtworkPNG, "image/png", CoverArt::PNG, "Cover Art (Front).png"},
    {kArtworkJPEG, "image/jpeg", CoverArt::JPEG, "Cover Art (Front).jpg"},
    {kArtworkTIFF, "image/tiff", CoverArt::Unknown, "Cover Art (Front).tiff"},
    {kArtworkGIF, "image/gif", CoverArt::GIF, "Cover Art (Front).gif"},
    {kArtworkBMP, "image/bmp", CoverArt::BMP, "Cover Art (Front).bmp"},
};
constexpr ArtworkFormat kOther = {0, nullptr, CoverArt::Unknown, "Cover Art (Front).jpg"};

}  // namespace

const ArtworkFormat& artworkFormatOf(std::int64_t type) {
  for (const ArtworkFormat& format : kFormats) {
    if (format.type == type) return format;
  }
  return kOther;
}

}  // namespace tagwriter

// What the first bytes of an image say: its format and its size.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "artwork/artwork_type.h"

namespace tagwriter {

/// Width and height in pixels.
struct Dimensions {
  unsigned width;
  unsigned height;
};

/// The format of an image by its signature, or nothing when it is none of the five.
std::optional<ArtworkType> imageTypeOf(std::span<const std::byte> image);

/// The size of a PNG (W3C PNG, IHDR), GIF (GIF89a, logical screen), BMP (BITMAPINFOHEADER) or JPEG
/// (ISO 10918-1, SOF) image. Nothing for a TIFF, an unknown format or bytes that end too early.
std::optional<Dimensions> dimensionsOf(std::span<const std::byte> image);

}  // namespace tagwriter

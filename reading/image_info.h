// The dimensions of an image, from its header.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

namespace tagwriter {

/// Width and height in pixels.
struct Dimensions {
  unsigned width;
  unsigned height;
};

/// The dimensions of a PNG (W3C PNG, IHDR), GIF (GIF89a, logical screen), BMP (BITMAPINFOHEADER) or
/// JPEG (ISO 10918-1, SOF) image. Nullopt for a TIFF, an unknown format or a truncated image.
std::optional<Dimensions> dimensionsOf(std::span<const std::byte> image);

}  // namespace tagwriter

#include "reading/image_info.h"

#include <cstdint>

#include "protocol/artwork_type.h"

namespace tagwriter {
namespace {

using Bytes = std::span<const std::byte>;

/// The unsigned number of `width` bytes at `offset`; 0 if it is beyond the end.
std::uint32_t number(Bytes image, std::size_t offset, std::size_t width, bool bigEndian) {
  if (offset > image.size() || width > image.size() - offset) return 0;
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < width; ++i) {
    const std::size_t at = offset + (bigEndian ? i : width - 1 - i);
    value = value << 8 | std::to_integer<std::uint32_t>(image[at]);
  }
  return value;
}

/// Skips segments up to the first frame header, which has the dimensions.
Dimensions jpegDimensions(Bytes image) {
  std::size_t offset = 2;
  while (offset + 4 <= image.size() && number(image, offset, 1, true) == 0xff) {
    const std::uint32_t marker = number(image, offset + 1, 1, true);
    if (marker == 0xff) {  // a fill byte
      ++offset;
      continue;
    }
    const bool isFrame =
        marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
    if (isFrame) return {number(image, offset + 7, 2, true), number(image, offset + 5, 2, true)};
    offset += 2 + number(image, offset + 2, 2, true);
  }
  return {0, 0};
}

Dimensions readDimensions(ArtworkType type, Bytes image) {
  switch (type) {
    case kArtworkPNG:
      return {number(image, 16, 4, true), number(image, 20, 4, true)};
    case kArtworkGIF:
      return {number(image, 6, 2, false), number(image, 8, 2, false)};
    case kArtworkBMP: {
      constexpr std::uint32_t kOldestHeader = 12;  // BITMAPCOREHEADER, with 16-bit numbers
      if (number(image, 14, 4, false) == kOldestHeader) {
        return {number(image, 18, 2, false), number(image, 20, 2, false)};
      }
      // A negative height means that the rows are stored from the top.
      const auto height = static_cast<std::int32_t>(number(image, 22, 4, false));
      return {number(image, 18, 4, false), height < 0 ? 0U - static_cast<std::uint32_t>(height)
                                                      : static_cast<std::uint32_t>(height)};
    }
    case kArtworkJPEG:
      return jpegDimensions(image);
    case kArtworkTIFF:
      break;
  }
  return {0, 0};
}

}  // namespace

std::optional<Dimensions> dimensionsOf(Bytes image) {
  const auto type = artworkTypeOf(image);
  if (!type) return std::nullopt;
  const Dimensions dimensions = readDimensions(*type, image);
  if (dimensions.width == 0 || dimensions.height == 0) return std::nullopt;
  return dimensions;
}

}  // namespace tagwriter

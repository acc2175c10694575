// The image formats of cover art and pictures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace tagwriter {

/// The "artworktype" of a request or of a picture. The values are part of the protocol.
enum ArtworkType : std::int64_t {
  kArtworkPNG = 1,
  kArtworkJPEG = 2,
  kArtworkTIFF = 3,
  kArtworkGIF = 4,
  kArtworkBMP = 5,
};

/// The format of an image by its first bytes, nothing else of which is looked at; nullopt if it is
/// none of the five.
std::optional<ArtworkType> artworkTypeOf(std::span<const std::byte> image);

}  // namespace tagwriter

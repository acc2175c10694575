#include "protocol/artwork_type.h"

#include <string_view>

namespace tagwriter {
namespace {

using namespace std::string_view_literals;

struct Signature {
  std::string_view start;
  ArtworkType type;
};

constexpr Signature kSignatures[] = {
    {"\x89PNG\r\n\x1a\n"sv, kArtworkPNG},
    {"\xff\xd8\xff"sv, kArtworkJPEG},
    {"II*\0"sv, kArtworkTIFF},
    {"MM\0*"sv, kArtworkTIFF},
    {"GIF87a"sv, kArtworkGIF},
    {"GIF89a"sv, kArtworkGIF},
    {"BM"sv, kArtworkBMP},
};

}  // namespace

std::optional<ArtworkType> artworkTypeOf(std::span<const std::byte> image) {
  const std::string_view bytes(reinterpret_cast<const char*>(image.data()), image.size());
  for (const Signature& signature : kSignatures) {
    if (bytes.starts_with(signature.start)) return signature.type;
  }
  return std::nullopt;
}

}  // namespace tagwriter

// Stores one front cover.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "protocol/dictionary.h"

namespace tagwriter {

/// Stores `image` (encoded bytes, not copied here) as the front cover of the file.
/// `fd` is taken over and closed on every path. `path` (UTF-8, never opened) picks the format;
/// without a path or an image nothing is opened. `artworkType` is an ArtworkType or any other
/// number. `request` is borrowed; its "replaceartwork" says whether pictures that are there are
/// replaced or kept.
/// Returns the save's result; false when nothing was to be saved: a type without pictures, a file
/// that is not valid, a picture that is there and kept. A Vorbis, Ogg FLAC or Opus file whose
/// picture is kept is saved all the same (kept). Exceptions of the library pass through.
bool writeArtwork(int fd, const char* path, std::optional<std::span<const std::byte>> image,
                  std::int64_t artworkType, const Dictionary& request);

}  // namespace tagwriter

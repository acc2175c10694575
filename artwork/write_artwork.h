// Stores one front cover.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "base/unique_fd.h"
#include "protocol/dictionary.h"

namespace tagwriter {

/// Stores `image` (encoded bytes, copied once) as the front cover of the file.
/// `fd` is closed on every path. `path` (UTF-8, never opened) picks the format; without a path or
/// an image nothing is opened. `artworkType` is an ArtworkType or any other number. `request` is
/// borrowed; its "replaceartwork" says whether existing pictures are replaced or stay.
/// Returns the save's result; false when there was nothing to save: a type without pictures, a file
/// that is not valid, an existing picture that stays. Quirk: a Vorbis, Ogg FLAC or Opus file is
/// saved even when its picture stays. Exceptions of TagLib pass through.
bool writeArtwork(UniqueFd fd, const char* path, std::optional<std::span<const std::byte>> image,
                  std::int64_t artworkType, const Dictionary& request);

}  // namespace tagwriter

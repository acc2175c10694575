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
/// Always closes `fd`. `path` (UTF-8, never opened) determines the format; if it is null or there
/// is no image, the file is not opened. `artworkType` is an ArtworkType or any other number.
/// `request` is borrowed; its "replaceartwork" says whether existing pictures are replaced. Returns
/// the result of the save; false if the type has no pictures, the file is invalid, or an existing
/// picture must be kept. Quirk: a Vorbis, Ogg FLAC or Opus file is saved even if its picture is
/// kept. Does not catch TagLib's exceptions.
bool writeArtwork(UniqueFd fd, const char* path, std::optional<std::span<const std::byte>> image,
                  std::int64_t artworkType, const Dictionary& request);

}  // namespace tagwriter

// Removes all pictures from a file.
#pragma once

#include "base/unique_fd.h"
#include "protocol/dictionary.h"

namespace tagwriter {

/// Removes the pictures from the file's tag.
/// `fd` is closed on every path. `path` (UTF-8, never opened, may be null) picks the format.
/// `request` is borrowed.
/// Returns the save's result. A file without a tag to clear gives false and is not saved; but a
/// Musepack file gets an empty one, and AIFF, WAV and DSF files always have one in this sense. A
/// FLAC file without pictures gives false too; every other format is saved even when there was no
/// picture. Exceptions of TagLib pass through.
bool clearArtwork(UniqueFd fd, const char* path, const Dictionary& request);

}  // namespace tagwriter

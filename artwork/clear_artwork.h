// Removes all pictures from a file.
#pragma once

#include "base/unique_fd.h"
#include "protocol/dictionary.h"

namespace tagwriter {

/// Removes the pictures from the file's tag.
/// Always closes `fd`. `path` (UTF-8, never opened, may be null) determines the format. `request`
/// is borrowed. Returns the result of the save. A file without the tag of its format is not saved,
/// and the result is false; but a Musepack file gets an empty tag, and for AIFF, WAV and DSF files
/// TagLib always returns one. The result is also false for a FLAC file without pictures. Files of
/// all other formats are saved even if they have no picture. Does not catch TagLib's exceptions.
bool clearArtwork(UniqueFd fd, const char* path, const Dictionary& request);

}  // namespace tagwriter

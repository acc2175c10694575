// Takes all pictures out of a file.
#pragma once

#include "protocol/dictionary.h"

namespace tagwriter {

/// Removes the pictures from the file's tag.
/// `fd` is taken over and closed on every path. `path` (UTF-8, never opened, may be null) picks the
/// format. `request` is borrowed.
/// Returns the save's result. A file that has no tag to clear gives false and is not saved, except
/// a Musepack file, which then gets an empty one to save (kept). A FLAC file without pictures gives
/// false too; every other format is saved even when there was no picture (kept). Exceptions of the
/// library pass through.
bool clearArtwork(int fd, const char* path, const Dictionary& request);

}  // namespace tagwriter

// Finds the files to process.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tagwriter {

/// Called for a path that cannot be used.
using PathError = std::function<void(const std::string& path, const std::string& reason)>;

/// Returns `paths`, with directories replaced by the audio files below them, sorted by name. Does
/// not follow symbolic links to directories, except those in `paths`. Reports directories that
/// cannot be read, those of `paths` without audio files, and every directory if `recursive` is
/// false.
std::vector<std::string> listFiles(const std::vector<std::string>& paths, bool recursive,
                                   const PathError& report);

}  // namespace tagwriter

// From the names on the command line to the files to work through.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tagwriter {

/// Reports a path that cannot be used, with the reason.
using PathError = std::function<void(const std::string& path, const std::string& reason)>;

/// Returns `paths` with every directory replaced, when `recursive` is set, by the audio files below
/// it, in the order of their names; links to directories are not followed. Without `recursive` a
/// directory is reported; so is one that cannot be read.
std::vector<std::string> listFiles(const std::vector<std::string>& paths, bool recursive,
                                   const PathError& report);

}  // namespace tagwriter

// All that is in the tags of a file besides its pictures.
#pragma once

#include <string>
#include <vector>

#include "tests/artwork/library_files.h"

namespace tagwriter::test {

/// One line for each frame, item, field or attribute that is no picture, of every tag that is in
/// the file, sorted.
std::vector<std::string> tagDump(Kind kind, const std::string& path);

}  // namespace tagwriter::test

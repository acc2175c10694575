// Lists all tags of a file, as TagLib names them.
#pragma once

#include <tfile.h>

#include <string>
#include <utility>
#include <vector>

namespace tagwriter {

/// The tags of one file: pairs of TagLib's unified name ("TITLE") and a value, sorted by name. A
/// name with several values has one pair for each.
using TagListing = std::vector<std::pair<std::string, std::string>>;

/// The tags of `file`, in UTF-8.
TagListing tagsIn(const TagLib::File& file);

}  // namespace tagwriter

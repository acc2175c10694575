// What is in a file, read on the player's side.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tagwriter {

/// The tags of one file: names as the tag library unifies them ("TITLE"), each with one value, in
/// the order of the names. A name with several values comes once for each.
using TagListing = std::vector<std::pair<std::string, std::string>>;

/// Reads the tags of the file at `path`, which is opened for reading. Returns nothing when the tag
/// library cannot read it.
std::optional<TagListing> readTags(const std::string& path);

}  // namespace tagwriter

// Lists the tags in a file, on the player's side. The service does not use this.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tagwriter {

/// The tags of one file: pairs of TagLib's unified name ("TITLE") and a value, sorted by name. A
/// name with several values has one pair for each.
using TagListing = std::vector<std::pair<std::string, std::string>>;

/// Reads the tags of the file `fd`, which is borrowed (its offset changes). `path` is its name and
/// is not opened. Returns nullopt if TagLib cannot read the file or `fd` cannot be duplicated.
/// Registers the DSF file type with TagLib for the life of the process.
std::optional<TagListing> readTags(int fd, const std::string& path);

/// The disc number and the number of discs, each 0 if the file does not have it.
struct DiscPosition {
  std::int64_t number = 0;
  std::int64_t total = 0;
};

/// Finds the disc position among the tags of a file.
DiscPosition discPositionOf(const TagListing& tags);

}  // namespace tagwriter

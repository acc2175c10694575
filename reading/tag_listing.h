// What is in a file, read on the player's side. The service uses none of this.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tagwriter {

/// The tags of one file: TagLib's unified names ("TITLE"), each with one value, in the order of the
/// names. A name with several values comes once for each.
using TagListing = std::vector<std::pair<std::string, std::string>>;

/// Reads the tags of the file behind `fd`, which stays the caller's (its offset moves); `path`
/// names it and is not opened. Returns nothing when TagLib cannot read the file or `fd` cannot be
/// duplicated. Registers the DSF file type with TagLib for the life of the process.
std::optional<TagListing> readTags(int fd, const std::string& path);

/// A disc's number and the number of discs; 0 where the file does not say.
struct DiscPosition {
  std::int64_t number = 0;
  std::int64_t total = 0;
};

/// Finds the disc position among the tags of a file.
DiscPosition discPositionOf(const TagListing& tags);

}  // namespace tagwriter

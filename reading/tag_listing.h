// What is in a file, read on the player's side. Nothing here is part of the service.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tagwriter {

/// The tags of one file: names as the tag library unifies them ("TITLE"), each with one value, in
/// the order of the names. A name with several values comes once for each.
using TagListing = std::vector<std::pair<std::string, std::string>>;

/// Reads the tags of the file behind `fd`, which stays the caller's (its offset moves); `path`
/// names it and is not opened. Returns nothing when the tag library cannot read the file or `fd`
/// cannot be duplicated. Makes DSF files known to the tag library for the life of the process.
std::optional<TagListing> readTags(int fd, const std::string& path);

/// A disc's number and the number of discs; 0 where the file does not say.
struct DiscPosition {
  std::int64_t number = 0;
  std::int64_t total = 0;
};

/// Finds the disc position among the tags of a file.
DiscPosition discPositionOf(const TagListing& tags);

}  // namespace tagwriter

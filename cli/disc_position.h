// The disc number and the number of discs among the tags of a file.
#pragma once

#include <cstdint>

#include "client/reader.h"

namespace tagwriter {

/// Each is 0 if the file does not have it.
struct DiscPosition {
  std::int64_t number = 0;
  std::int64_t total = 0;
};

/// Finds the disc position among the tags of a file.
DiscPosition discPositionOf(const TagListing& tags);

}  // namespace tagwriter

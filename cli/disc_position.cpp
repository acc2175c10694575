#include "cli/disc_position.h"

#include <string_view>

#include "base/number_pair.h"

namespace tagwriter {
namespace {

const char* valueOf(const TagListing& tags, std::string_view name) {
  for (const auto& [tagName, value] : tags) {
    if (tagName == name) return value.c_str();
  }
  return "";
}

}  // namespace

DiscPosition discPositionOf(const TagListing& tags) {
  DiscPosition position;
  parseNumberPair(valueOf(tags, "DISCNUMBER"), position.number, position.total);
  std::int64_t unused = 0;
  // Other programs store the total in a separate field of a Xiph comment.
  for (const char* name : {"DISCTOTAL", "TOTALDISCS"}) {
    if (position.total == 0) parseNumberPair(valueOf(tags, name), position.total, unused);
  }
  return position;
}

}  // namespace tagwriter

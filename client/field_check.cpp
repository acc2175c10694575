#include "client/field_check.h"

#include <limits>
#include <string>
#include <string_view>

#include "protocol/fields.h"
#include "protocol/kept_fields.h"
#include "protocol/keys.h"

namespace tagwriter {
namespace {

constexpr std::int64_t kMaxStars = 5;

/// The largest value of a whole number that tags of this family give back as it was written. The
/// smallest is 0.
std::int64_t maxNumber(std::string_view key, TagFamily family) {
  constexpr std::int64_t kMax32Bit = std::numeric_limits<std::int32_t>::max();
  constexpr std::int64_t kMaxID3v2Year = 9999;        // ID3v2.4 structure, 4: "yyyy-MM-dd..."
  constexpr std::int64_t kMaxTotalText = 99'999'999;  // what fits behind any number
  if (key == field::kYear) return family == TagFamily::kID3v2 ? kMaxID3v2Year : kMax32Bit;
  // TagLib reads 16 bits with a sign.
  if (family == TagFamily::kMP4) return std::numeric_limits<std::int16_t>::max();
  return key == field::kTotalNumberOfTracks ? kMaxTotalText : kMax32Bit;
}

Outcome checkRange(std::string_view key, bool isInRange, std::int64_t largest) {
  if (isInRange) return {};
  return {Status::kOutOfRange, std::string(key) + " must be from 0 to " + std::to_string(largest)};
}

/// Checks one value in the track of a request.
struct RangeCheck {
  std::string_view key;
  TagFamily family;

  Outcome operator()(std::int64_t number) const {
    const std::int64_t largest = maxNumber(key, family);
    return checkRange(key, number >= 0 && number <= largest, largest);
  }
  Outcome operator()(double stars) const {  // false for a NaN
    return checkRange(key, stars >= 0 && stars <= static_cast<double>(kMaxStars), kMaxStars);
  }
  template <typename Other>
  Outcome operator()(const Other&) const {
    return {};
  }
};

/// The length of a UTF-8 text in code units of UTF-16.
std::size_t utf16Length(std::string_view text) {
  std::size_t units = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0xc0) != 0x80) units += byte >= 0xf0 ? 2 : 1;
  }
  return units;
}

/// Whether the field is in the Content Description object of an ASF file, whose texts have 16-bit
/// lengths in bytes, terminator included (ASF specification, 3.10).
bool isTooLongForASF(std::string_view key, std::string_view text) {
  constexpr std::size_t kMaxBytes = 0xffff;
  const bool isDescription =
      key == field::kTitle || key == field::kArtist || key == field::kComment;
  return isDescription && 2 * (utf16Length(text) + 1) > kMaxBytes;
}

bool isTooLarge(TagFileType type, std::string_view key, std::string_view text) {
  if (type == kTagFileWMA) return isTooLongForASF(key, text);
  return type == kTagFileFLAC && text.size() > kMaxFLACBlock;
}

Outcome checkTrack(TagFileType type, std::string_view key, const ValueDictionary& track) {
  for (const auto& [name, value] : track.values()) {
    const RangeCheck check{name, tagFamilyOf(type)};
    if (Outcome range = std::visit(check, value); !range) return range;
  }
  const char* text = track.getString(std::string(key).c_str());
  return text && isTooLarge(type, key, text) ? Outcome(Status::kBlockTooLarge) : Outcome();
}

}  // namespace

Outcome checkField(TagFileType type, const ValueDictionary& request) {
  if (const auto image = request.getData(key::kArtwork)) {
    const bool fits = type != kTagFileFLAC || image->size() <= kMaxFLACBlock;
    return fits ? Outcome() : Outcome(Status::kBlockTooLarge);
  }
  const char* key = request.getString(key::kChangedTag);
  const ValueDictionary* track = request.getDictionary(key::kTrack);
  if (!key || !track) return {};
  if (!field::isKept(key, type)) return {Status::kFieldNotKept};
  return checkTrack(type, key, *track);
}

}  // namespace tagwriter

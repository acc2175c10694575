#include "io/mp4_fragments.h"

#include <cstddef>

namespace tagwriter {
namespace {

using TagLib::ByteVector;

struct Box {
  ByteVector name;
  long long start;
  long long body;
  long long end;
};

/// The boxes between two positions, up to a damaged one.
std::vector<Box> boxesBetween(TagLib::MP4::File& file, long long start, long long end) {
  constexpr unsigned kShortHeader = 8;
  constexpr unsigned kLongHeader = 16;
  std::vector<Box> boxes;
  while (end - start >= kShortHeader) {
    file.seek(start);
    const ByteVector header = file.readBlock(kLongHeader);
    long long size = header.toUInt(0U);
    const unsigned headerSize = size == 1 ? kLongHeader : kShortHeader;
    if (size == 0) size = end - start;
    if (size == 1) size = header.toLongLong(kShortHeader);
    if (size < headerSize || size > end - start) break;
    boxes.push_back({header.mid(4, 4), start, start + headerSize, start + size});
    start += size;
  }
  return boxes;
}

}  // namespace

std::vector<FragmentOffset> fragmentOffsets(TagLib::MP4::File& file) {
  constexpr unsigned kHasOffset = 1;  // flag in the header of a fragment's track, "tfhd"
  constexpr unsigned kOffset = 8;     // after the flags and the track's number
  std::vector<FragmentOffset> offsets;
  for (const Box& fragment : boxesBetween(file, 0, file.length())) {
    if (fragment.name != "moof") continue;
    for (const Box& track : boxesBetween(file, fragment.body, fragment.end)) {
      if (track.name != "traf") continue;
      for (const Box& header : boxesBetween(file, track.body, track.end)) {
        if (header.name != "tfhd" || header.end - header.body < kOffset + 8) continue;
        file.seek(header.body);
        const ByteVector fields = file.readBlock(kOffset + 8);
        if (!(fields.toUInt(0U) & kHasOffset)) continue;
        offsets.push_back({fragment.start, header.body + kOffset, fields.toLongLong(kOffset)});
      }
    }
  }
  return offsets;
}

bool updateFragmentOffsets(TagLib::MP4::File& file, const std::vector<FragmentOffset>& before) {
  if (before.empty()) return true;
  const std::vector<FragmentOffset> after = fragmentOffsets(file);
  if (after.size() != before.size()) return false;
  for (std::size_t i = 0; i < after.size(); ++i) {
    const long long distance = after[i].fragment - before[i].fragment;
    if (distance == 0 || after[i].value != before[i].value) continue;
    file.seek(after[i].position);
    file.writeBlock(ByteVector::fromLongLong(after[i].value + distance));
  }
  return true;
}

}  // namespace tagwriter

#include "io/with_stream.h"

#include <cstring>

#include "protocol/dictionary.h"
#include "protocol/keys.h"

namespace tagwriter {
namespace {

std::uint64_t lengthOf(const char* text) {
  return text ? std::strlen(text) : 0;
}

}  // namespace

std::uint64_t maxGrowthFor(const Dictionary& request) {
  constexpr std::uint64_t kPadding = 16 << 20;
  std::uint64_t size = 0;
  if (const auto artwork = request.getData(key::kArtwork)) size = artwork->size();
  const char* changedKey = request.getString(key::kChangedTag);
  const Dictionary* track = request.getDictionary(key::kTrack);
  if (changedKey && track) size += lengthOf(track->getString(changedKey));
  return 2 * size + kPadding;
}

}  // namespace tagwriter

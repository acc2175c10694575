#include "client/forecast.h"

#include <algorithm>
#include <numeric>
#include <string_view>

#include "client/field_check.h"
#include "client/preflight.h"
#include "protocol/fields.h"
#include "protocol/kept_fields.h"
#include "protocol/keys.h"

namespace tagwriter {
namespace {

std::string_view changedKey(const ValueDictionary& request) {
  const char* key = request.getString(key::kChangedTag);
  return key ? key : "";
}

/// The new value of the field `key` if `request` changes it, where 0 clears it; nullopt if not.
std::optional<std::int64_t> newNumber(const ValueDictionary& request, const char* key) {
  const ValueDictionary* track = request.getDictionary(key::kTrack);
  if (!track || changedKey(request) != key) return std::nullopt;
  return track->getInt64(key);
}

std::int64_t trackNumberIn(const FileContents& contents) {
  const TrackValue* number = findValue(contents.fields, field::kTrackNumber);
  return number ? std::get<std::int64_t>(*number) : 0;
}

/// Whether the track number and the number of tracks share a text.
bool sharesTrackText(TagFileType type) {
  const TagFamily family = tagFamilyOf(type);
  return family == TagFamily::kID3v2 || family == TagFamily::kAPE;
}

std::optional<std::int64_t> newSharedTotal(TagFileType type, const ValueDictionary& request) {
  if (!sharesTrackText(type)) return std::nullopt;
  return newNumber(request, field::kTotalNumberOfTracks);
}

/// Whether the service can open the file to make the change.
bool canBeOpened(const ValueDictionary& request, const FileContents& contents) {
  return field::isCore(changedKey(request)) ? contents.isReadable : contents.isAudio;
}

/// Whether the service refuses to clear the pictures: in a FLAC file if there is none, and in other
/// formats if there is no tag, which it does not create.
bool hasNothingToRemove(TagFileType type, const FileContents& contents) {
  if (!contents.pictures.empty() || !contents.isComplete) return false;
  const bool needsTag = type == kTagFileMP3 || type == kTagFileAPE || type == kTagFileWavPack;
  return type == kTagFileFLAC || (needsTag && !contents.isTagged);
}

std::size_t textSize(const TrackValue* value) {
  const auto* text = value ? std::get_if<std::string>(value) : nullptr;
  return text ? text->size() : 0;
}

/// Whether the texts that would be in a FLAC comment are too large for it together.
bool overflowsComment(std::string_view key, std::string_view text, const FileContents& contents) {
  std::size_t size = text.size();
  for (const auto& [name, value] : contents.tags) size += name.size() + value.size();
  return size - std::min(size, textSize(findValue(contents.fields, key))) > kMaxFLACBlock;
}

bool overflowsBlock(TagFileType type, const ValueDictionary& request,
                    const FileContents& contents) {
  const ValueDictionary* track = request.getDictionary(key::kTrack);
  if (type != kTagFileFLAC || !track) return false;
  const std::string_view key = changedKey(request);
  const char* text = track->getString(std::string(key).c_str());
  return text && overflowsComment(key, text, contents);
}

}  // namespace

bool needsContents(TagFileType type, const ValueDictionary& request) {
  return mustKeepPictures(request) || newSharedTotal(type, request);
}

Outcome checkContents(TagFileType type, const ValueDictionary& request,
                      const FileContents& contents) {
  // An incomplete list may lack the picture.
  const bool mayHavePicture = !contents.pictures.empty() || !contents.isComplete;
  if (mustKeepPictures(request) && mayHavePicture) return {Status::kHasPicture};
  const bool setsTotal = newSharedTotal(type, request).value_or(0) != 0;
  if (setsTotal && trackNumberIn(contents) == 0) return {Status::kNeedsTrackNumber};
  return {};
}

Outcome reasonToRefuse(TagFileType type, const ValueDictionary& request,
                       const FileContents& contents) {
  if (!canBeOpened(request, contents)) return {Status::kNotThisType};
  if (request.getBool(key::kClearArtwork) && hasNothingToRemove(type, contents)) {
    return {Status::kNothingToRemove};
  }
  const bool needsTag =
      changedKey(request) == field::kCueSheet && tagFamilyOf(type) == TagFamily::kAPE;
  if (needsTag && !contents.isTagged) {
    return {Status::kFieldNotKept, "only a file that has a tag takes a cue sheet"};
  }
  return overflowsBlock(type, request, contents) ? Outcome(Status::kBlockTooLarge) : Outcome();
}

void apply(const ValueDictionary& request, FileContents& contents) {
  if (request.getBool(key::kClearArtwork)) contents.pictures.clear();
  const bool setsPicture = request.values().contains(key::kArtwork);
  if (setsPicture) contents.pictures.resize(1);
  contents.isTagged = contents.isTagged || setsPicture || !changedKey(request).empty();
  if (const auto number = newNumber(request, field::kTrackNumber)) {
    std::erase_if(contents.fields,
                  [](const auto& field) { return field.first == field::kTrackNumber; });
    contents.fields.emplace_back(field::kTrackNumber, *number);
  }
}

std::optional<ValueDictionary> requestAfter(TagFileType type, const ValueDictionary& request,
                                            const FileContents& contents) {
  const std::int64_t number = trackNumberIn(contents);
  if (newSharedTotal(type, request) != 0 || number == 0) return std::nullopt;
  ValueDictionary track;
  track.set(field::kTrackNumber, number);
  ValueDictionary again;
  again.set(key::kChangedTag, std::string(field::kTrackNumber));
  again.set(key::kTrack, std::move(track));
  return again;
}

std::vector<std::size_t> sendingOrder(const std::vector<const ValueDictionary*>& requests) {
  std::vector<std::size_t> order(requests.size());
  std::iota(order.begin(), order.end(), 0);
  const auto setsNumber = [](const ValueDictionary* request) {
    return newNumber(*request, field::kTrackNumber).value_or(0) != 0;
  };
  const auto last = std::find_if(requests.rbegin(), requests.rend(), setsNumber);
  const auto afterNumber = order.begin() + (requests.rend() - last);
  std::stable_partition(order.begin(), afterNumber, [&](std::size_t i) {
    return !newNumber(*requests[i], field::kTotalNumberOfTracks);
  });
  return order;
}

}  // namespace tagwriter

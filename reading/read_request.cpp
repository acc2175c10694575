#include "reading/read_request.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <utility>

#include "protocol/artwork_type.h"
#include "protocol/keys.h"
#include "reading/contents.h"
#include "reading/image_info.h"
#include "reading/text_value.h"

namespace tagwriter {
namespace {

constexpr std::uint64_t kMiB = 1 << 20;
/// A message may have 64 MiB: three parts that are full, or one that is alone.
constexpr std::uint64_t kMaxPart = 20 * kMiB;
constexpr std::uint64_t kMaxAlone = 64 * kMiB - 1024;
constexpr std::uint64_t kMaxPiece = 16 * kMiB;
/// At least what an entry takes in a message besides its texts.
constexpr std::uint64_t kEntryOverhead = 512;

/// The room in one part of the reply.
class Room {
 public:
  explicit Room(std::uint64_t bytes) : left_(bytes) {}

  /// Takes the room for an entry with texts of `bytes`; returns false if there is too little.
  bool take(std::uint64_t bytes) {
    const bool fits = bytes + kEntryOverhead <= left_;
    if (fits) left_ -= bytes + kEntryOverhead;
    leftOut_ = leftOut_ || !fits;
    return fits;
  }
  bool hasLeftOut() const { return leftOut_; }

 private:
  std::uint64_t left_;
  bool leftOut_ = false;
};

/// A field in the type of the field.
struct FieldValue {
  ValueDictionary::Value operator()(std::string& text) const { return textValue(std::move(text)); }
  template <typename Number>
  ValueDictionary::Value operator()(Number number) const {
    return number;
  }
};

std::uint64_t sizeOf(const StoredFields::mapped_type& value) {
  const auto* text = std::get_if<std::string>(&value);
  return text ? text->size() : 0;
}

// The following move the texts out of the contents: they may be large.

void addTo(ValueDictionary& track, StoredFields::value_type& field, Room& room) {
  auto& [key, value] = field;
  if (room.take(sizeOf(value))) track.set(key, std::visit(FieldValue(), value));
}

ValueDictionary::List listOf(TagListing& tags, Room& room) {
  ValueDictionary::List list;
  for (auto& [name, value] : tags) {
    if (!room.take(name.size() + value.size())) continue;
    ValueDictionary& entry = list.emplace_back();
    entry.set(key::kName, textValue(std::move(name)));
    entry.set(key::kValue, textValue(std::move(value)));
  }
  return list;
}

std::span<const std::byte> bytesOf(const Picture& picture) {
  return std::as_bytes(std::span(picture.image.data(), picture.image.size()));
}

ValueDictionary entryOf(const Picture& picture) {
  ValueDictionary entry;
  const auto image = bytesOf(picture);
  if (picture.type) entry.set(key::kType, std::int64_t{*picture.type});
  if (!picture.role.empty()) entry.set(key::kRole, textValue(picture.role));
  if (!picture.mimeType.empty()) entry.set(key::kMimeType, textValue(picture.mimeType));
  if (!picture.description.empty()) entry.set(key::kDescription, textValue(picture.description));
  entry.set(key::kSize, std::uint64_t{image.size()});
  if (const auto type = artworkTypeOf(image)) entry.set(key::kArtworkType, std::int64_t{*type});
  if (const auto dimensions = dimensionsOf(image)) {
    entry.set(key::kWidth, std::uint64_t{dimensions->width});
    entry.set(key::kHeight, std::uint64_t{dimensions->height});
  }
  return entry;
}

ValueDictionary::List listOf(const Pictures& pictures, Room& room) {
  ValueDictionary::List list;
  for (const Picture& picture : pictures) {
    const std::uint64_t texts =
        picture.role.size() + picture.mimeType.size() + picture.description.size();
    if (room.take(texts)) list.push_back(entryOf(picture));
  }
  return list;
}

ValueDictionary startReply(const Contents& contents) {
  ValueDictionary reply;
  reply.set(key::kReadable, contents.isReadable);
  reply.set(key::kAudio, contents.isAudio);
  reply.set(key::kTagged, contents.isTagged);
  return reply;
}

ValueDictionary wholeReply(Contents& contents) {
  ValueDictionary reply = startReply(contents);
  Room forTags(kMaxPart);
  Room forFields(kMaxPart);
  Room forPictures(kMaxPart);
  ValueDictionary track;
  for (auto& field : contents.fields) addTo(track, field, forFields);
  ValueDictionary info;
  for (auto& field : contents.info) addTo(info, field, forFields);
  if (!contents.info.empty()) reply.set(key::kInfo, std::move(info));
  reply.set(key::kTags, listOf(contents.tags, forTags));
  reply.set(key::kTrack, std::move(track));
  reply.set(key::kPictures, listOf(contents.pictures, forPictures));
  if (forTags.hasLeftOut() || forFields.hasLeftOut() || forPictures.hasLeftOut()) {
    reply.set(key::kIncomplete, true);
  }
  return reply;
}

/// One field, which may be larger than those of a whole reply.
ValueDictionary fieldReply(Contents& contents, const std::string& key) {
  ValueDictionary track;
  Room room(kMaxAlone);
  const auto field = contents.fields.find(key);
  if (field != contents.fields.end()) addTo(track, *field, room);
  ValueDictionary reply = startReply(contents);
  reply.set(key::kTrack, std::move(track));
  if (room.hasLeftOut()) reply.set(key::kIncomplete, true);
  return reply;
}

/// A piece of the bytes of one picture.
ValueDictionary pictureReply(const Contents& contents, std::uint64_t index, std::uint64_t offset) {
  ValueDictionary reply = startReply(contents);
  if (index >= contents.pictures.size()) return reply;
  const auto image = bytesOf(contents.pictures[index]);
  const auto rest = image.subspan(std::min<std::uint64_t>(offset, image.size()));
  const auto piece = rest.first(std::min<std::uint64_t>(kMaxPiece, rest.size()));
  reply.set(key::kSize, std::uint64_t{image.size()});
  reply.set(key::kData, ByteString{{reinterpret_cast<const char*>(piece.data()), piece.size()}});
  return reply;
}

/// Reading from a pipe or a device could block forever.
bool isReadableFile(const UniqueFd& fd) {
  struct stat status {};
  if (::fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
  const int flags = ::fcntl(fd.get(), F_GETFL);
  return !(flags & O_PATH) && (flags & O_ACCMODE) != O_WRONLY;
}

}  // namespace

ValueDictionary handleReadRequest(const ValueDictionary& request) {
  UniqueFd fd = request.duplicateDescriptor(key::kFd);
  Contents contents;
  if (isReadableFile(fd)) contents = readContents(std::move(fd), request.getString(key::kPath));
  if (const auto index = request.getUint64(key::kPicture)) {
    return pictureReply(contents, *index, request.getUint64(key::kOffset).value_or(0));
  }
  const char* field = request.getString(key::kField);
  return field ? fieldReply(contents, field) : wholeReply(contents);
}

}  // namespace tagwriter

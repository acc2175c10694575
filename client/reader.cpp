#include "client/reader.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "base/unique_fd.h"
#include "protocol/fields.h"
#include "protocol/keys.h"

namespace tagwriter {
namespace {

bool isForReadingOnly(int fd) {
  return (::fcntl(fd, F_GETFL) & O_ACCMODE) == O_RDONLY;
}

UniqueFd reopenForReading(int fd) {
  const std::string self = "/proc/self/fd/" + std::to_string(fd);
  return UniqueFd(::open(self.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
}

/// A text may come as bytes.
std::optional<std::string> textIn(const ValueDictionary& values, const char* key) {
  if (const char* text = values.getString(key)) return text;
  const auto bytes = values.getData(key);
  if (!bytes) return std::nullopt;
  return std::string(reinterpret_cast<const char*>(bytes->data()), bytes->size());
}

PictureInfo pictureOf(const ValueDictionary& entry) {
  const bool hasType = entry.values().contains(key::kType);
  return {hasType ? std::optional(entry.getInt64(key::kType)) : std::nullopt,
          textIn(entry, key::kRole).value_or(""),
          textIn(entry, key::kMimeType).value_or(""),
          entry.getUint64(key::kSize).value_or(0),
          entry.getUint64(key::kWidth).value_or(0),
          entry.getUint64(key::kHeight).value_or(0),
          static_cast<ImageType>(entry.getInt64(key::kArtworkType))};
}

std::optional<TrackValue> valueOf(const field::Field& field, const ValueDictionary& track) {
  if (!track.values().contains(field.key)) return std::nullopt;
  switch (field.type) {
    case field::Type::kString:
      return textIn(track, field.key);
    case field::Type::kInt64:
      return track.getInt64(field.key);
    case field::Type::kDouble:
      return track.getDouble(field.key);
    case field::Type::kBool:
      return track.getBool(field.key);
  }
  return std::nullopt;
}

/// A number of 0 stands for none: MP4 stores one beside a total, and no format tells them apart.
bool isNone(const TrackValue& value) {
  const auto* number = std::get_if<std::int64_t>(&value);
  return number && *number == 0;
}

FieldListing fieldsIn(const ValueDictionary& track) {
  FieldListing fields;
  for (const field::Field& field : field::kAll) {
    auto value = valueOf(field, track);
    if (value && !isNone(*value)) fields.emplace_back(field.key, std::move(*value));
  }
  return fields;
}

}  // namespace

const TrackValue* findValue(const FieldListing& fields, std::string_view key) {
  const auto found = std::find_if(fields.begin(), fields.end(),
                                  [&](const auto& field) { return field.first == key; });
  return found == fields.end() ? nullptr : &found->second;
}

Outcome Reader::read(int fd, const std::string& path, FileContents& contents) {
  dbus::Reply reply;
  if (Outcome called = call(fd, path, {}, reply); !called) return called;
  contents = {};
  contents.isReadable = reply.values.getBool(key::kReadable);
  contents.isAudio = reply.values.getBool(key::kAudio);
  contents.isTagged = reply.values.getBool(key::kTagged);
  contents.isComplete = !reply.values.getBool(key::kIncomplete);
  if (const auto* track = reply.values.getDictionary(key::kTrack)) {
    contents.fields = fieldsIn(*track);
  }
  if (const auto* info = reply.values.getDictionary(key::kInfo)) contents.info = fieldsIn(*info);
  for (const ValueDictionary& tag : reply.values.getList(key::kTags)) {
    contents.tags.emplace_back(textIn(tag, key::kName).value_or(""),
                               textIn(tag, key::kValue).value_or(""));
  }
  for (const ValueDictionary& picture : reply.values.getList(key::kPictures)) {
    contents.pictures.push_back(pictureOf(picture));
  }
  return {};
}

Outcome Reader::readPicture(int fd, const std::string& path, std::uint64_t index,
                            const PictureSink& sink) {
  std::uint64_t offset = 0;
  std::uint64_t size = 0;
  do {
    ValueDictionary request;
    request.set(key::kPicture, index);
    request.set(key::kOffset, offset);
    dbus::Reply reply;
    if (Outcome called = call(fd, path, std::move(request), reply); !called) return called;
    size = reply.values.getUint64(key::kSize).value_or(0);
    const auto piece = reply.values.getData(key::kData);
    if (!piece || (piece->empty() && offset < size)) {
      return {Status::kUnreadable, "the picture is not there any more"};
    }
    if (!sink(*piece)) return {};
    offset += piece->size();
  } while (offset < size);
  return {};
}

Outcome Reader::readField(int fd, const std::string& path, std::string_view key,
                          std::optional<TrackValue>& value) {
  value.reset();
  const field::Field* field = field::find(key);
  if (!field) return {Status::kUnknownField, std::string(key) + ": no such field"};
  ValueDictionary request;
  request.set(key::kField, std::string(key));
  dbus::Reply reply;
  if (Outcome called = call(fd, path, std::move(request), reply); !called) return called;
  if (reply.values.getBool(key::kIncomplete))
    return {Status::kUnreadable, "the field is too large"};
  if (const auto* track = reply.values.getDictionary(key::kTrack)) value = valueOf(*field, *track);
  return {};
}

Outcome Reader::call(int fd, const std::string& path, ValueDictionary request, dbus::Reply& reply) {
  UniqueFd reopened;
  if (!isForReadingOnly(fd)) {
    reopened = reopenForReading(fd);
    if (!reopened) return {Status::kUnreadable, std::strerror(errno)};
    fd = reopened.get();
  }
  request.set(key::kFd, BorrowedFd{fd});
  request.set(key::kPath, ByteString{path});
  auto result = worker_.call(&dbus::ServiceClient::read, request);
  if (const auto* failure = std::get_if<dbus::CallError>(&result)) {
    if (deadline_.hasPassed()) return Status::kTimedOut;
    if (failure->kind == dbus::CallError::Kind::kNotDelivered) {
      return {Status::kServiceUnavailable, failure->message};
    }
    return {Status::kUnreadable, "the reader did not answer: " + failure->message};
  }
  reply = std::move(std::get<dbus::Reply>(result));
  return {};
}

}  // namespace tagwriter

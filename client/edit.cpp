#include <utility>

#include "client/edit_content.h"
#include "protocol/fields.h"
#include "protocol/keys.h"
#include "protocol/value_dictionary.h"

namespace tagwriter {
namespace {

bool fits(const TrackValue& value, field::Type type) {
  switch (type) {
    case field::Type::kString:
      return std::holds_alternative<std::string>(value);
    case field::Type::kInt64:
      return std::holds_alternative<std::int64_t>(value);
    case field::Type::kDouble:
      return std::holds_alternative<double>(value);
    case field::Type::kBool:
      return std::holds_alternative<bool>(value);
  }
  return false;
}

const char* nameOf(field::Type type) {
  switch (type) {
    case field::Type::kString:
      return "text";
    case field::Type::kInt64:
      return "an integer";
    case field::Type::kDouble:
      return "a double";
    case field::Type::kBool:
      return "a bool";
  }
  return "";
}

/// Checks that the field exists and takes `value`; null for a field to be cleared.
Outcome checkField(Text key, const TrackValue* value) {
  const field::Field* field = field::find(key);
  if (!field) return {Status::kUnknownField, std::string(key) + ": no such field"};
  if (key == field::kTotalNumberOfDiscs) {
    return {Status::kUnknownField,
            std::string(key) + ": can only be set together with the disc number"};
  }
  if (value && !fits(*value, field->type)) {
    return {Status::kUnknownField, std::string(key) + ": takes " + nameOf(field->type)};
  }
  return {};
}

ValueDictionary trackChange(Text key, ValueDictionary track) {
  ValueDictionary request;
  request.set(key::kChangedTag, std::string(key));
  request.set(key::kTrack, std::move(track));
  return request;
}

}  // namespace

Edit::Edit(Content content) : content_(std::make_shared<const Content>(std::move(content))) {}

Edit Edit::setField(Text key, const TrackValue& value) {
  if (Outcome fitting = checkField(key, &value); !fitting) return Edit({fitting});
  ValueDictionary track;
  std::visit([&](const auto& v) { track.set(std::string(key), v); }, value);
  return Edit({{}, trackChange(key, std::move(track))});
}

Edit Edit::clearField(Text key) {
  if (Outcome fitting = checkField(key, nullptr); !fitting) return Edit({fitting});
  return Edit({{}, trackChange(key, {})});
}

Edit Edit::setDisc(std::int64_t number, std::int64_t total) {
  ValueDictionary track;
  track.set(field::kDisc, number);
  track.set(field::kTotalNumberOfDiscs, total);
  return Edit({{}, trackChange(field::kDisc, std::move(track))});
}

Edit Edit::setCover(std::span<const std::byte> cover, ImageType type, bool replace) {
  ValueDictionary request;
  request.set(key::kArtwork, cover);
  request.set(key::kArtworkType, static_cast<std::int64_t>(type));
  request.set(key::kReplaceArtwork, replace);
  return Edit({{}, std::move(request)});
}

Edit Edit::clearCovers() {
  ValueDictionary request;
  request.set(key::kClearArtwork, true);
  return Edit({{}, std::move(request)});
}

}  // namespace tagwriter

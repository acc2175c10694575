#include "tagging/number_cells.h"

#include <cstdlib>

#include "tagging/rating.h"

namespace tagwriter::cell {

using TagLib::String;
using TagLib::Ogg::XiphComment;
namespace APE = TagLib::APE;
namespace ASF = TagLib::ASF;
namespace ID3v2 = TagLib::ID3v2;
namespace MP4 = TagLib::MP4;
using MaybeStored = std::optional<StoredField>;

namespace {

// Sizes of the buffers for formatted numbers, including the terminator. Quirk: longer numbers are
// truncated to fit, and existing files contain such numbers.
constexpr std::size_t kID3v2PairSize = 37;
constexpr std::size_t kAPEPairSize = 38;
constexpr std::size_t kTotalPairSize = 20;
constexpr std::size_t kRatingSize = 10;
constexpr std::size_t kDecimalRatingSize = 16;

/// `number` with the total of `oldText`, if it has one; empty if there is nothing to write.
std::string withTotalOf(const String& oldText, int number, std::size_t size) {
  std::int64_t oldNumber = 0;
  std::int64_t total = 0;
  if (parseNumberPair(oldText, oldNumber, total) == 2) {
    return formatTruncated(size, "%d/%ld", number, static_cast<long>(total));
  }
  return number != 0 ? formatTruncated(size, "%d", number) : std::string();
}

/// `total` after the tag's track number; empty if either is 0.
std::string withNumberOf(const TagLib::Tag& tag, int total) {
  const auto number = static_cast<int>(tag.track());
  return total != 0 && number != 0 ? formatTruncated(kTotalPairSize, "%d/%d", number, total)
                                   : std::string();
}

/// Sets the text under `name`. An empty text removes it, in every family.
template <typename Tag>
void setOrRemove(Tag& tag, const char* name, const std::string& text) {
  setText(tag, name, text.empty() ? nullptr : text.c_str());
}

std::string percentText(double stars) {
  return formatTruncated(kRatingSize, "%d", percentRating(stars));
}

MaybeStored starsOfPercentText(const std::optional<String>& text) {
  const MaybeStored percent = storedNumber(text);
  if (!percent) return std::nullopt;
  return StoredField{starsOfPercent(std::get<std::int64_t>(percent->value))};
}

}  // namespace

MaybeStored storedNumber(const std::optional<String>& text) {
  const MaybeStored pair = storedPair(text);
  return pair ? MaybeStored(StoredField{pair->value}) : std::nullopt;
}

MaybeStored storedPair(const std::optional<String>& text) {
  if (!text) return std::nullopt;
  std::int64_t number = 0;
  std::int64_t total = 0;
  parseNumberPair(*text, number, total);
  return StoredField{number, total};
}

MaybeStored storedPair(const MP4::Tag& tag, const char* name) {
  if (!tag.contains(name)) return std::nullopt;
  const auto [number, total] = tag.item(name).toIntPair();
  return StoredField{std::int64_t{number}, total};
}

MaybeStored totalOf(const MaybeStored& pair) {
  return pair ? MaybeStored(StoredField{pair->total}) : std::nullopt;
}

void PairNumber::write(ID3v2::Tag& tag, const FieldChange& change) const {
  const String old = readID3v2FrameText(tag, name);
  setOrRemove(tag, name, withTotalOf(old, low32(change.number), kID3v2PairSize));
}

void PairNumber::write(MP4::Tag& tag, const FieldChange& change) const {
  const int total = tag.contains(name) ? tag.item(name).toIntPair().second : 0;
  tag.setItem(name, MP4::Item(low32(change.number), total));
}

void PairNumber::write(APE::Tag& tag, const FieldChange& change) const {
  const String old = readAPEItemText(tag, name);
  setOrRemove(tag, name, withTotalOf(old, low32(change.number), kAPEPairSize));
}

void PairTotal::write(ID3v2::Tag& tag, const FieldChange& change) const {
  setOrRemove(tag, name, withNumberOf(tag, low32(change.number)));
}

void PairTotal::write(MP4::Tag& tag, const FieldChange& change) const {
  const int number = tag.contains(name) ? tag.item(name).toIntPair().first : 0;
  tag.setItem(name, MP4::Item(number, low32(change.number)));
}

void PairTotal::write(APE::Tag& tag, const FieldChange& change) const {
  setOrRemove(tag, name, withNumberOf(tag, low32(change.number)));
}

void Total::write(XiphComment& comment, const FieldChange& change) const {
  if (removed) setText(comment, removed, nullptr);
  const int total = low32(change.number);
  setOrRemove(comment, name, total != 0 ? std::to_string(total) : std::string());
}

std::string Pair::textOf(const FieldChange& change) {
  const std::string number = std::to_string(change.number);
  return change.total != 0 ? number + "/" + std::to_string(change.total) : number;
}

void Pair::write(MP4::Tag& tag, const FieldChange& change) const {
  if (change.number == 0 && change.total == 0) {
    tag.removeItem(name);
  } else {
    tag.setItem(name, MP4::Item(low32(change.number), low32(change.total)));
  }
}

void Number::write(MP4::Tag& tag, const FieldChange& change) const {
  if (change.number == 0) {
    tag.removeItem(name);
  } else {
    tag.setItem(name, MP4::Item(low32(change.number)));
  }
}

MaybeStored Number::read(MP4::Tag& tag) const {
  if (!tag.contains(name)) return std::nullopt;
  return StoredField{std::int64_t{tag.item(name).toInt()}};
}

void Flag::write(MP4::Tag& tag, const FieldChange& change) const {
  // Quirk: the one-byte item, not the boolean one.
  tag.setItem(name, MP4::Item(static_cast<unsigned char>(change.flag ? 1 : 0)));
}

void Flag::write(ASF::Tag& tag, const FieldChange& change) const {
  if (removed) tag.removeItem(removed);
  tag.setAttribute(name, ASF::Attribute(change.flag));
}

MaybeStored Flag::storedFlag(const MaybeStored& number) {
  if (!number) return std::nullopt;
  return StoredField{std::get<std::int64_t>(number->value) != 0};
}

MaybeStored Flag::read(MP4::Tag& tag) const {
  if (!tag.contains(name)) return std::nullopt;
  return StoredField{tag.item(name).toBool()};
}

MaybeStored Flag::read(ASF::Tag& tag) const {
  const ASF::AttributeList attributes = tag.attribute(name);
  if (attributes.isEmpty()) return std::nullopt;
  const ASF::Attribute& attribute = attributes.front();
  if (attribute.type() == ASF::Attribute::BoolType) return StoredField{attribute.toBool() != 0};
  return storedFlag(storedNumber(attribute.toString()));
}

void Rating::write(ID3v2::Tag& tag, const FieldChange& change) const {
  setID3v2Rating(tag, name, change.real, change.path);
}

void Rating::write(MP4::Tag& tag, const FieldChange& change) const {
  setText(tag, name, percentText(change.real).c_str());
}

void Rating::write(XiphComment& comment, const FieldChange& change) const {
  setText(comment, name, percentText(change.real).c_str());
}

void Rating::write(ASF::Tag& tag, const FieldChange& change) const {
  setText(tag, name, formatTruncated(kRatingSize, "%d", sdbRating(change.real)).c_str());
  tag.setAttribute(second, ASF::Attribute(sharedUserRating(change.real)));
}

void Rating::write(APE::Tag& tag, const FieldChange& change) const {
  setText(tag, name, formatTruncated(kDecimalRatingSize, "%f", change.real).c_str());
}

MaybeStored Rating::read(ID3v2::Tag& tag) const {
  const auto stars = getID3v2Rating(tag, name);
  return stars ? MaybeStored(StoredField{*stars}) : std::nullopt;
}

MaybeStored Rating::read(MP4::Tag& tag) const {
  return starsOfPercentText(getText(tag, name));
}

MaybeStored Rating::read(XiphComment& comment) const {
  return starsOfPercentText(getText(comment, name));
}

MaybeStored Rating::read(ASF::Tag& tag) const {
  return starsOfPercentText(getText(tag, name));  // ten per half star
}

MaybeStored Rating::read(APE::Tag& tag) const {
  const auto text = getText(tag, name);
  if (!text) return std::nullopt;
  return StoredField{std::strtod(text->toCString(), nullptr)};
}

}  // namespace tagwriter::cell

// The kinds of cells that hold numbers, flags and ratings, which no family stores as they arrive.
#pragma once

#include <optional>
#include <string>

#include "tagging/numbers.h"
#include "tagging/text_cells.h"

namespace tagwriter::cell {

/// The number at the start of a text, 0 when there is none; nothing without a text.
std::optional<StoredField> storedNumber(const std::optional<TagLib::String>& text);
/// Number and total of a text like "3/12", 0 for what it does not say; nothing without a text.
std::optional<StoredField> storedPair(const std::optional<TagLib::String>& text);
/// The two integers of an item; nothing when there is no such item.
std::optional<StoredField> storedPair(const TagLib::MP4::Tag& tag, const char* name);

/// A pair turned so that its total is the value.
std::optional<StoredField> totalOf(const std::optional<StoredField>& pair);

/// The track number of TagLib's generic tag.
struct Track {
  static constexpr KindInfo kInfo = {
      "generic track",
      "where TagLib's own track setter puts it; 0 removes, but ASF keeps a text of \"0\""};

  template <typename Tag>
  void write(Tag& tag, const FieldChange& change) const {
    tag.setTrack(static_cast<unsigned>(low32(change.number)));
  }
  std::optional<StoredField> read(TagLib::Ogg::XiphComment& comment) const {
    return storedNumber(getText(comment, "TRACKNUMBER"));
  }
  /// TagLib's getter: the attribute may be a text or a number.
  template <typename Tag>
  std::optional<StoredField> read(Tag& tag) const {
    if (tag.track() == 0) return std::nullopt;
    return StoredField{std::int64_t{tag.track()}};
  }
};

/// The first number of "number/total"; the second stays.
struct PairNumber {
  static constexpr KindInfo kInfo = {
      "number of a pair",
      "an existing total stays; without one the number stands alone, and 0 removes the text; MP4 "
      "has two integers and keeps both, 0 included"};
  const char* name;

  void write(TagLib::ID3v2::Tag& tag, const FieldChange& change) const;
  void write(TagLib::MP4::Tag& tag, const FieldChange& change) const;
  void write(TagLib::APE::Tag& tag, const FieldChange& change) const;
  template <typename Tag>
  std::optional<StoredField> read(Tag& tag) const {
    return storedPair(getText(tag, name));
  }
  std::optional<StoredField> read(TagLib::MP4::Tag& tag) const { return storedPair(tag, name); }
};

/// The second number of "number/total"; the first stays.
struct PairTotal {
  static constexpr KindInfo kInfo = {
      "total of a pair",
      "an existing number stays; when either is 0 the text is removed, number included; MP4 has "
      "two integers and keeps both, 0 included"};
  const char* name;

  void write(TagLib::ID3v2::Tag& tag, const FieldChange& change) const;
  void write(TagLib::MP4::Tag& tag, const FieldChange& change) const;
  void write(TagLib::APE::Tag& tag, const FieldChange& change) const;
  template <typename Tag>
  std::optional<StoredField> read(Tag& tag) const {
    return totalOf(storedPair(getText(tag, name)));
  }
  std::optional<StoredField> read(TagLib::MP4::Tag& tag) const {
    return totalOf(storedPair(tag, name));
  }
};

/// Number and total together.
struct Pair {
  static constexpr KindInfo kInfo = {
      "pair",
      "\"number/total\", or \"number\" when the total is 0, also when that is \"0\"; MP4 has two "
      "integers, removed when both are 0"};
  const char* name;

  template <typename Tag>
  void write(Tag& tag, const FieldChange& change) const {
    setText(tag, name, textOf(change).c_str());
  }
  void write(TagLib::MP4::Tag& tag, const FieldChange& change) const;
  template <typename Tag>
  std::optional<StoredField> read(Tag& tag) const {
    return storedPair(getText(tag, name));
  }
  std::optional<StoredField> read(TagLib::MP4::Tag& tag) const { return storedPair(tag, name); }

 private:
  static std::string textOf(const FieldChange& change);
};

/// A total under a name of its own.
struct Total {
  static constexpr KindInfo kInfo = {"total", "decimal text; 0 removes"};
  const char* name;
  const char* removed = nullptr;  ///< another name for the same value

  void write(TagLib::Ogg::XiphComment& comment, const FieldChange& change) const;
  std::optional<StoredField> read(TagLib::Ogg::XiphComment& comment) const {
    return storedNumber(getText(comment, name));
  }
};

/// A number by itself.
struct Number {
  static constexpr KindInfo kInfo = {"number", "decimal text, in MP4 an integer; 0 removes"};
  const char* name;
  const char* removed = nullptr;  ///< another name for the same value

  template <typename Tag>
  void write(Tag& tag, const FieldChange& change) const {
    if (removed) setText(tag, removed, nullptr);
    // Quirk: the test for 0 is on all 64 bits, the number written has 32.
    const std::string text = std::to_string(low32(change.number));
    setText(tag, name, change.number != 0 ? text.c_str() : nullptr);
  }
  void write(TagLib::MP4::Tag& tag, const FieldChange& change) const;
  template <typename Tag>
  std::optional<StoredField> read(Tag& tag) const {
    return storedNumber(getText(tag, name));
  }
  std::optional<StoredField> read(TagLib::MP4::Tag& tag) const;
};

/// Yes or no.
struct Flag {
  static constexpr KindInfo kInfo = {
      "flag", "\"1\" or removed; MP4 has a byte and ASF a boolean, also written when false"};
  const char* name;
  const char* removed = nullptr;  ///< another name for the same value

  template <typename Tag>
  void write(Tag& tag, const FieldChange& change) const {
    if (removed) setText(tag, removed, nullptr);
    setText(tag, name, change.flag ? "1" : nullptr);
  }
  void write(TagLib::MP4::Tag& tag, const FieldChange& change) const;
  void write(TagLib::ASF::Tag& tag, const FieldChange& change) const;
  template <typename Tag>
  std::optional<StoredField> read(Tag& tag) const {
    return storedFlag(storedNumber(getText(tag, name)));
  }
  std::optional<StoredField> read(TagLib::MP4::Tag& tag) const;
  std::optional<StoredField> read(TagLib::ASF::Tag& tag) const;

 private:
  static std::optional<StoredField> storedFlag(const std::optional<StoredField>& number);
};

/// Stars, in the scale of each family. Written for 0 as well.
struct Rating {
  static constexpr KindInfo kInfo = {
      "rating",
      "ID3v2: one popularimeter frame replaces all, 0 to 255 in uneven steps; MP4 and Xiph: 20 per "
      "star, truncated; ASF: 10 per half star as text, and 0 to 99 for whole stars; APE: the stars "
      "with six decimals; 0 is written like any other value"};
  const char* name;
  const char* second = nullptr;  ///< ASF: for whole stars

  void write(TagLib::ID3v2::Tag& tag, const FieldChange& change) const;
  void write(TagLib::MP4::Tag& tag, const FieldChange& change) const;
  void write(TagLib::Ogg::XiphComment& comment, const FieldChange& change) const;
  void write(TagLib::ASF::Tag& tag, const FieldChange& change) const;
  void write(TagLib::APE::Tag& tag, const FieldChange& change) const;
  std::optional<StoredField> read(TagLib::ID3v2::Tag& tag) const;
  std::optional<StoredField> read(TagLib::MP4::Tag& tag) const;
  std::optional<StoredField> read(TagLib::Ogg::XiphComment& comment) const;
  std::optional<StoredField> read(TagLib::ASF::Tag& tag) const;
  std::optional<StoredField> read(TagLib::APE::Tag& tag) const;
};

}  // namespace tagwriter::cell

// The kinds of cells for numbers, flags and ratings, which every family stores differently.
#pragma once

#include <optional>
#include <string>

#include "tagging/numbers.h"
#include "tagging/text_cells.h"

namespace tagwriter::cell {

/// The number at the start of a text, or 0 if it has none; nullopt without a text.
std::optional<StoredField> storedNumber(const std::optional<TagLib::String>& text);
/// Number and total of a text like "3/12", each 0 if missing; nullopt without a text.
std::optional<StoredField> storedPair(const std::optional<TagLib::String>& text);
/// The two integers of an item; nullopt if there is no such item.
std::optional<StoredField> storedPair(const TagLib::MP4::Tag& tag, const char* name);

/// The total of `pair` as a value.
std::optional<StoredField> totalOf(const std::optional<StoredField>& pair);

/// The track number of TagLib's generic tag.
struct Track {
  static constexpr KindInfo kInfo = {
      "generic track",
      "where TagLib's track setter puts it; 0 removes it, but ASF keeps the text \"0\""};

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
      "keeps an existing total; without a total, only the number is stored, and 0 removes it; MP4 "
      "always stores two integers, even if they are 0"};
  const char* name = nullptr;

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
      "keeps an existing number; if either is 0, the whole text is removed, number included; MP4 "
      "always stores two integers, even if they are 0"};
  const char* name = nullptr;

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
      "\"number/total\", or only \"number\" (even \"0\") if the total is 0; MP4 stores two "
      "integers, and removes them if both are 0"};
  const char* name = nullptr;

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

/// A total under a separate name.
struct Total {
  static constexpr KindInfo kInfo = {"total", "decimal text; 0 removes it"};
  const char* name = nullptr;
  const char* removed = nullptr;  ///< another name for the same value

  void write(TagLib::Ogg::XiphComment& comment, const FieldChange& change) const;
  std::optional<StoredField> read(TagLib::Ogg::XiphComment& comment) const {
    return storedNumber(getText(comment, name));
  }
};

/// A single number.
struct Number {
  static constexpr KindInfo kInfo = {"number", "decimal text, in MP4 an integer; 0 removes it"};
  const char* name = nullptr;
  const char* removed = nullptr;  ///< another name for the same value

  template <typename Tag>
  void write(Tag& tag, const FieldChange& change) const {
    if (removed) setText(tag, removed, nullptr);
    // Quirk: all 64 bits are compared with 0, but only the low 32 are written.
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
      "flag", "\"1\", removed if false; MP4 stores a byte and ASF a boolean, even if false"};
  const char* name = nullptr;
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

/// Stars, in the scale of each family. 0 is written too.
struct Rating {
  static constexpr KindInfo kInfo = {
      "rating",
      "ID3v2: one popularimeter frame replaces all others, 0 to 255 in uneven steps; MP4 and Xiph: "
      "20 per star, truncated; ASF: 10 per half star as text, and 0 to 99 for whole stars; APE: "
      "stars with six decimals; 0 is written like any other value"};
  const char* name = nullptr;
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

// The cells that hold numbers, flags and ratings, which no family stores as they arrive.
#pragma once

#include <string>

#include "tagging/numbers.h"
#include "tagging/text_cells.h"

namespace tagwriter {

/// The text of the first frame called `frameId`, or the null string when there is none.
TagLib::String readID3v2FrameText(const TagLib::ID3v2::Tag& tag, const char* frameId);

/// The values of the item called `key` (upper case), joined by a space, or the null string when
/// there is none.
TagLib::String readAPEItemText(TagLib::APE::Tag& tag, const char* key);

namespace cell {

/// The track number of the library's generic tag.
struct GenericTrack {
  static constexpr Form kForm = {
      "generic track",
      "where the tag library's own track setter puts it; 0 removes, but ASF keeps a text of \"0\""};
  template <typename Tag>
  static void edit(Tag& tag, const Cell<Tag>&, const FieldEdit& edit) {
    tag.setTrack(static_cast<unsigned>(low32(edit.value.number)));
  }
};

/// The first number of "number/total", the second kept.
struct NumberOfPair {
  static constexpr Form kForm = {
      "number of a pair",
      "the total that is there is kept; where there is none, the number alone, and 0 removes the "
      "text; MP4 has two integers and keeps them, 0 included"};
  static void edit(TagLib::ID3v2::Tag& tag, const Cell<TagLib::ID3v2::Tag>& cell,
                   const FieldEdit& edit);
  static void edit(TagLib::MP4::Tag& tag, const Cell<TagLib::MP4::Tag>& cell,
                   const FieldEdit& edit);
  static void edit(TagLib::APE::Tag& tag, const Cell<TagLib::APE::Tag>& cell,
                   const FieldEdit& edit);
};

/// The second number of "number/total", the first kept.
struct TotalOfPair {
  static constexpr Form kForm = {"total of a pair",
                                 "the number that is there is kept; the text is removed, number "
                                 "and all, when either is 0; MP4 "
                                 "has two integers and keeps them, 0 included"};
  static void edit(TagLib::ID3v2::Tag& tag, const Cell<TagLib::ID3v2::Tag>& cell,
                   const FieldEdit& edit);
  static void edit(TagLib::MP4::Tag& tag, const Cell<TagLib::MP4::Tag>& cell,
                   const FieldEdit& edit);
  static void edit(TagLib::APE::Tag& tag, const Cell<TagLib::APE::Tag>& cell,
                   const FieldEdit& edit);
};

/// A total in a field of its own.
struct Total {
  static constexpr Form kForm = {"total", "decimal text; 0 removes"};
  static void edit(TagLib::Ogg::XiphComment& comment, const Cell<TagLib::Ogg::XiphComment>& cell,
                   const FieldEdit& edit);
};

/// Number and total together.
struct Pair {
  static constexpr Form kForm = {
      "pair",
      "\"number/total\", or \"number\" when the total is 0, and that is written when it is 0 too; "
      "MP4 has two integers, removed when both are 0"};
  template <typename Tag>
  static void edit(Tag& tag, const Cell<Tag>& cell, const FieldEdit& edit) {
    setText(tag, cell.name, textOf(edit.value).c_str());
  }
  static void edit(TagLib::MP4::Tag& tag, const Cell<TagLib::MP4::Tag>& cell,
                   const FieldEdit& edit);

 private:
  static std::string textOf(const FieldValue& value);
};

/// A number by itself.
struct Number {
  static constexpr Form kForm = {"number", "decimal text, in MP4 an integer; 0 removes"};
  template <typename Tag>
  static void edit(Tag& tag, const Cell<Tag>& cell, const FieldEdit& edit) {
    if (cell.replaced) setText(tag, cell.replaced, nullptr);
    // The test is on all 64 bits, the number written has 32 (kept).
    const std::string text = std::to_string(low32(edit.value.number));
    setText(tag, cell.name, edit.value.number != 0 ? text.c_str() : nullptr);
  }
  static void edit(TagLib::MP4::Tag& tag, const Cell<TagLib::MP4::Tag>& cell,
                   const FieldEdit& edit);
};

/// Yes or no.
struct Flag {
  static constexpr Form kForm = {
      "flag", "\"1\" or removed; MP4 has a byte and ASF a boolean, which say no as well"};
  template <typename Tag>
  static void edit(Tag& tag, const Cell<Tag>& cell, const FieldEdit& edit) {
    setText(tag, cell.name, edit.value.flag ? "1" : nullptr);
  }
  static void edit(TagLib::MP4::Tag& tag, const Cell<TagLib::MP4::Tag>& cell,
                   const FieldEdit& edit);
  static void edit(TagLib::ASF::Tag& tag, const Cell<TagLib::ASF::Tag>& cell,
                   const FieldEdit& edit);
};

/// Stars, in the scale of each family. Written for 0 as well.
struct Rating {
  static constexpr Form kForm = {
      "rating",
      "ID3v2: one popularimeter frame in the place of all, 0 to 255 in uneven steps; MP4 and Xiph: "
      "20 a star, cut; ASF: 10 a half star as text, and 0 to 99 for whole stars; APE: the stars "
      "with six decimals; 0 is written like any other"};
  static void edit(TagLib::ID3v2::Tag& tag, const Cell<TagLib::ID3v2::Tag>& cell,
                   const FieldEdit& edit);
  static void edit(TagLib::MP4::Tag& tag, const Cell<TagLib::MP4::Tag>& cell,
                   const FieldEdit& edit);
  static void edit(TagLib::Ogg::XiphComment& comment, const Cell<TagLib::Ogg::XiphComment>& cell,
                   const FieldEdit& edit);
  static void edit(TagLib::ASF::Tag& tag, const Cell<TagLib::ASF::Tag>& cell,
                   const FieldEdit& edit);
  static void edit(TagLib::APE::Tag& tag, const Cell<TagLib::APE::Tag>& cell,
                   const FieldEdit& edit);
};

}  // namespace cell
}  // namespace tagwriter

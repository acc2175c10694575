// The cells that hold numbers, over what a tag holds already. The tags belong to no file.
#include "tagging/number_cells.h"

#include <gtest/gtest.h>
#include <popularimeterframe.h>
#include <textidentificationframe.h>

#include <cstdint>
#include <optional>
#include <string>

#include "tagging/field_table.h"
#include "tests/fields/edit.h"

namespace tagwriter::test {
namespace {

using TagLib::String;
using TagLib::StringList;
using Text = std::optional<std::string>;

constexpr std::int64_t k32 = std::int64_t{1} << 32;
constexpr auto none = std::nullopt;

void edit(TagLib::ID3v2::Tag& tag, const char* field, const FieldChange& value) {
  const auto& cell = findFieldRow(field)->id3v2;
  cell.editor(value)(&tag);
}
void edit(TagLib::MP4::Tag& tag, const char* field, const FieldChange& value) {
  const auto& cell = findFieldRow(field)->mp4;
  cell.editor(value)(&tag);
}
void edit(TagLib::Ogg::XiphComment& tag, const char* field, const FieldChange& value) {
  const auto& cell = findFieldRow(field)->xiph;
  cell.editor(value)(&tag);
}
void edit(TagLib::ASF::Tag& tag, const char* field, const FieldChange& value) {
  const auto& cell = findFieldRow(field)->asf;
  cell.editor(value)(&tag);
}
void edit(TagLib::APE::Tag& tag, const char* field, const FieldChange& value) {
  const auto& cell = findFieldRow(field)->ape;
  cell.editor(value)(&tag);
}

/// A TRCK frame or a Track item before and after an edit.
struct TrackCase {
  Text before;
  std::int64_t value;
  Text after;
};

Text id3v2After(const char* field, const TrackCase& track) {
  TagLib::ID3v2::Tag tag;
  if (track.before) {
    for (const std::string& text : {*track.before, std::string("second frame")}) {
      auto* frame = new TagLib::ID3v2::TextIdentificationFrame("TRCK", String::Latin1);
      frame->setText(text);
      tag.addFrame(frame);
    }
  }
  edit(tag, field, numberValue(track.value));
  const auto& frames = tag.frameList("TRCK");
  EXPECT_LE(frames.size(), 1u);
  return frames.isEmpty() ? none : Text(frames.front()->toString().to8Bit(true));
}

Text apeAfter(const char* field, const TrackCase& track) {
  TagLib::APE::Tag tag;
  if (track.before) tag.setItem("TRACK", TagLib::APE::Item("TRACK", String(*track.before)));
  edit(tag, field, numberValue(track.value));
  const auto& items = tag.itemListMap();
  if (!items.contains("TRACK")) return none;
  EXPECT_EQ(items["TRACK"].key(), "Track");
  return items["TRACK"].toString().to8Bit(true);
}

void expectAfter(const char* field, const TrackCase& track) {
  SCOPED_TRACE(testing::Message() << track.before.value_or("nothing") << ", " << track.value);
  EXPECT_EQ(id3v2After(field, track), track.after);
  EXPECT_EQ(apeAfter(field, track), track.after);
}

TEST(TrackNumber, KeepsTheTotalThatIsThere) {
  for (const TrackCase& track : {
           TrackCase{"1/10", 4, "4/10"},
           {"1", 4, "4"},
           {none, 4, "4"},
           {"", 4, "4"},
           {"/10", 4, "4"},
           {"1/", 4, "4"},
           {"1/x", 4, "4"},
           {"x", 4, "4"},
           {"1/2/3", 4, "4/3"},
           {" 3 / 9", 4, "4/9"},
           {"0/10", 4, "4/10"},
           {"1/0", 4, "4/0"},
           {"1/-3", 4, "4/-3"},
           {"1/4294967297", 4, "4/1"},
           {"1/10", -4, "-4/10"},
           {"1/10", k32 + 4, "4/10"},
           {"-2147483648/-2147483648", -2147483648LL, "-2147483648/-2147483648"},
       }) {
    expectAfter("trackNumber", track);
  }
}

TEST(TrackNumber, ZeroStaysBeforeATotalAndGoesAwayWithoutOne) {
  for (const TrackCase& track : {
           TrackCase{"1/10", 0, "0/10"},
           {"5/12", 0, "0/12"},
           {"1/10", k32, "0/10"},
           {"1", 0, none},
           {"1/", 0, none},
           {"/10", 0, none},
           {"x", 0, none},
           {none, 0, none},
           {"1", k32, none},
       }) {
    expectAfter("trackNumber", track);
  }
}

TEST(TrackTotal, KeepsTheNumberThatIsThere) {
  for (const TrackCase& track : {
           TrackCase{"4", 12, "4/12"},
           {"4/10", 12, "4/12"},
           {"4", -12, "4/-12"},
           {"4", k32 + 12, "4/12"},
           {"4/10", k32 + 12, "4/12"},
           {"-4/10", 12, "-4/12"},
           // 19 characters is all that the buffer holds.
           {"2147483647", 2147483647, "2147483647/21474836"},
           {"123456789", 123456789, "123456789/123456789"},
       }) {
    expectAfter("totalNumberOfTracks", track);
  }
}

TEST(TrackTotal, RemovesTheNumberAsWellWhenEitherIsZero) {
  for (const TrackCase& track : {
           TrackCase{"4/12", 0, none},
           {"7/12", k32, none},
           {"4", 0, none},
           {"0/10", 12, none},
           {"x/10", 12, none},
           {"", 12, none},
           {none, 12, none},
           {none, 0, none},
       }) {
    expectAfter("totalNumberOfTracks", track);
  }
}

using MP4Pair = std::optional<std::pair<int, int>>;

MP4Pair mp4After(const char* field, const char* item, MP4Pair before, const FieldChange& value) {
  TagLib::MP4::Tag tag;
  if (before) tag.setItem(item, TagLib::MP4::Item(before->first, before->second));
  edit(tag, field, value);
  if (!tag.contains(item)) return none;
  const auto pair = tag.item(item).toIntPair();
  return std::pair(pair.first, pair.second);
}

TEST(MP4Pairs, KeepTheOtherNumberOfATrack) {
  const auto number = [](MP4Pair before, std::int64_t value) {
    return mp4After("trackNumber", "trkn", before, numberValue(value));
  };
  EXPECT_EQ(number(none, 4), std::pair(4, 0));
  EXPECT_EQ(number(std::pair(1, 10), 4), std::pair(4, 10));
  EXPECT_EQ(number(std::pair(1, 10), 0), std::pair(0, 10));
  EXPECT_EQ(number(none, 0), std::pair(0, 0)) << "written all the same";
  EXPECT_EQ(number(std::pair(1, 10), k32 - 1), std::pair(-1, 10));

  const auto total = [](MP4Pair before, std::int64_t value) {
    return mp4After("totalNumberOfTracks", "trkn", before, numberValue(value));
  };
  EXPECT_EQ(total(std::pair(4, 10), 12), std::pair(4, 12));
  EXPECT_EQ(total(none, 12), std::pair(0, 12));
  EXPECT_EQ(total(std::pair(4, 10), 0), std::pair(4, 0));
  EXPECT_EQ(total(none, 0), std::pair(0, 0));
  EXPECT_EQ(total(std::pair(4, 10), k32 + 2), std::pair(4, 2));
}

TEST(MP4Pairs, HoldADiscUnlessBothNumbersAreZero) {
  const auto disc = [](std::int64_t number, std::int64_t total) {
    return mp4After("disc", "disk", std::pair(8, 9), numberValue(number, total));
  };
  EXPECT_EQ(disc(2, 3), std::pair(2, 3));
  EXPECT_EQ(disc(2, 0), std::pair(2, 0));
  EXPECT_EQ(disc(0, 3), std::pair(0, 3));
  EXPECT_EQ(disc(0, 0), none);
  EXPECT_EQ(disc(k32, 0), std::pair(0, 0)) << "not 0 in 64 bits";
  EXPECT_EQ(disc(0, k32), std::pair(0, 0));
  EXPECT_EQ(disc(-1, k32 + 70000), std::pair(-1, 70000));
}

TEST(MP4Numbers, AreTestedForZeroIn64Bits) {
  TagLib::MP4::Tag tag;
  edit(tag, "bpm", numberValue(k32 + 120));
  EXPECT_EQ(tag.item("tmpo").toInt(), 120);
  edit(tag, "bpm", numberValue(k32));
  ASSERT_TRUE(tag.contains("tmpo"));
  EXPECT_EQ(tag.item("tmpo").toInt(), 0);
  edit(tag, "bpm", numberValue(0));
  EXPECT_FALSE(tag.contains("tmpo"));
}

TEST(MP4Flags, AreAByte) {
  TagLib::MP4::Tag tag;
  edit(tag, "compilation", flagValue(true));
  EXPECT_EQ(tag.item("cpil").toByte(), 1);
  edit(tag, "compilation", flagValue(false));
  ASSERT_TRUE(tag.contains("cpil"));
  EXPECT_EQ(tag.item("cpil").toByte(), 0);
}

TEST(XiphNumbers, TakeTheOtherNameAway) {
  for (const std::int64_t value : {std::int64_t{0}, std::int64_t{120}}) {
    TagLib::Ogg::XiphComment comment;
    for (const char* name : {"BPM", "TEMPO", "TRACKTOTAL", "TOTALTRACKS"}) {
      comment.addField(name, "1", false);
      comment.addField(name, "2", false);
    }
    edit(comment, "bpm", numberValue(value));
    edit(comment, "totalNumberOfTracks", numberValue(value));
    const auto& fields = comment.fieldListMap();
    EXPECT_FALSE(fields.contains("BPM"));
    EXPECT_FALSE(fields.contains("TRACKTOTAL"));
    for (const char* name : {"TEMPO", "TOTALTRACKS"}) {
      const StringList expected = value != 0 ? StringList("120") : StringList();
      EXPECT_EQ(fields.contains(name) ? fields[name] : StringList(), expected) << name;
    }
  }
}

TEST(ASFFlags, TakeTheOtherNameAway) {
  for (const bool flag : {true, false}) {
    TagLib::ASF::Tag tag;
    tag.addAttribute("WM/Compilation", TagLib::ASF::Attribute(String("1")));
    tag.addAttribute("WM/IsCompilation", TagLib::ASF::Attribute(String("yes")));
    edit(tag, "compilation", flagValue(flag));
    EXPECT_FALSE(tag.contains("WM/Compilation"));
    ASSERT_EQ(tag.attribute("WM/IsCompilation").size(), 1u);
    EXPECT_EQ(tag.attribute("WM/IsCompilation").front().type(), TagLib::ASF::Attribute::BoolType);
    EXPECT_EQ(tag.attribute("WM/IsCompilation").front().toBool(), flag);
  }
}

TEST(ID3v2Ratings, TakeThePlaceOfAllPopularimeters) {
  TagLib::ID3v2::Tag tag;
  for (const char* email : {"one@example.org", "two@example.org", ""}) {
    auto* frame = new TagLib::ID3v2::PopularimeterFrame;
    frame->setEmail(email);
    frame->setRating(99);
    frame->setCounter(1000);
    tag.addFrame(frame);
  }
  edit(tag, "rating", realValue(0.0));
  ASSERT_EQ(tag.frameList("POPM").size(), 1u);
  const auto* frame =
      dynamic_cast<TagLib::ID3v2::PopularimeterFrame*>(tag.frameList("POPM").front());
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->email(), "no@email");
  EXPECT_EQ(frame->rating(), 0);
  EXPECT_EQ(frame->counter(), 0u);
}

TEST(ReadID3v2FrameText, GivesTheFirstFrame) {
  TagLib::ID3v2::Tag tag;
  EXPECT_TRUE(readID3v2FrameText(tag, "TRCK").isEmpty());
  for (const char* text : {"1/10", "2/20"}) {
    auto* frame = new TagLib::ID3v2::TextIdentificationFrame("TRCK", String::Latin1);
    frame->setText(text);
    tag.addFrame(frame);
  }
  EXPECT_EQ(readID3v2FrameText(tag, "TRCK"), "1/10");
  EXPECT_TRUE(readID3v2FrameText(tag, "TPOS").isEmpty());
}

TEST(ReadAPEItemText, JoinsTheValuesByASpace) {
  TagLib::APE::Tag tag;
  EXPECT_TRUE(readAPEItemText(tag, "TRACK").isEmpty());
  tag.setItem("Track", TagLib::APE::Item("Track", StringList("1").append("/10").append("x")));
  EXPECT_EQ(readAPEItemText(tag, "TRACK"), "1 /10 x");
  edit(tag, "trackNumber", numberValue(4));
  EXPECT_EQ(readAPEItemText(tag, "TRACK"), "4/10");
}

}  // namespace
}  // namespace tagwriter::test

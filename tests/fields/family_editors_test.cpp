// The generic text editors, on tags that belong to no file.
#include "tagging/family_text.h"
#include "tagging/id3v2_frames.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/log_capture.h"

namespace tagwriter::test {
namespace {

using TagLib::String;
using TagLib::StringList;

constexpr char kText[] = "Žluť 🎵";

String utf8(const char* text) {
  return {text, String::UTF8};
}

TEST(MP4TextItem, HoldsOneText) {
  TagLib::MP4::Tag tag;
  tag.setItem("aART", TagLib::MP4::Item(StringList("old").append("older")));
  tag.setItem("\251grp", TagLib::MP4::Item(StringList("other")));
  setMP4TextItem(tag, "aART", kText);
  EXPECT_EQ(tag.item("aART").toStringList(), StringList(utf8(kText)));
  EXPECT_EQ(tag.itemMap().size(), 2u);
  EXPECT_EQ(tag.item("\251grp").toStringList(), StringList("other"));
}

TEST(MP4TextItem, HoldsAnEmptyTextAsItIs) {
  TagLib::MP4::Tag tag;
  setMP4TextItem(tag, "\251wrt", "");
  ASSERT_TRUE(tag.contains("\251wrt"));
  EXPECT_EQ(tag.item("\251wrt").toStringList(), StringList(""));
}

TEST(MP4TextItem, GoesAwayWhenAbsent) {
  TagLib::MP4::Tag tag;
  tag.setItem("aART", TagLib::MP4::Item(StringList("old")));
  tag.setItem("desc", TagLib::MP4::Item(StringList("other")));
  setMP4TextItem(tag, "aART", nullptr);
  setMP4TextItem(tag, "never there", nullptr);
  EXPECT_FALSE(tag.contains("aART"));
  EXPECT_TRUE(tag.contains("desc"));
}

TEST(XiphTextField, ReplacesAllValues) {
  TagLib::Ogg::XiphComment comment;
  comment.addField("COMPOSER", "one", false);
  comment.addField("Composer", "two", false);
  comment.addField("OTHER", "stays");
  setXiphTextField(comment, "COMPOSER", kText);
  EXPECT_EQ(comment.fieldListMap()["COMPOSER"], StringList(utf8(kText)));
  EXPECT_EQ(comment.fieldListMap()["OTHER"], StringList("stays"));
  EXPECT_EQ(comment.fieldCount(), 2u);
}

TEST(XiphTextField, IsNotWrittenWhenEmpty) {
  TagLib::Ogg::XiphComment comment;
  comment.addField("COMPOSER", "old");
  setXiphTextField(comment, "COMPOSER", "");
  EXPECT_EQ(comment.fieldCount(), 0u) << "the library replaces by nothing";
}

TEST(XiphTextField, LosesAllValuesWhenAbsent) {
  TagLib::Ogg::XiphComment comment;
  comment.addField("COMPOSER", "one", false);
  comment.addField("composer", "two", false);
  comment.addField("OTHER", "stays");
  setXiphTextField(comment, "COMPOSER", nullptr);
  EXPECT_FALSE(comment.contains("COMPOSER"));
  EXPECT_EQ(comment.fieldCount(), 1u);
}

TEST(ASFTextAttribute, HoldsOneUnicodeText) {
  TagLib::ASF::Tag tag;
  tag.addAttribute("WM/Composer", TagLib::ASF::Attribute(7U));
  tag.addAttribute("WM/Composer", TagLib::ASF::Attribute(String("old")));
  tag.setAttribute("WM/Genre", TagLib::ASF::Attribute(String("stays")));
  setASFTextAttribute(tag, "WM/Composer", kText);
  const auto attributes = tag.attribute("WM/Composer");
  ASSERT_EQ(attributes.size(), 1u);
  EXPECT_EQ(attributes.front().type(), TagLib::ASF::Attribute::UnicodeType);
  EXPECT_EQ(attributes.front().toString(), utf8(kText));
  EXPECT_EQ(tag.attribute("WM/Genre").front().toString(), "stays");
}

TEST(ASFTextAttribute, HoldsAnEmptyTextAsItIs) {
  TagLib::ASF::Tag tag;
  setASFTextAttribute(tag, "WM/Composer", "");
  ASSERT_EQ(tag.attribute("WM/Composer").size(), 1u);
  EXPECT_EQ(tag.attribute("WM/Composer").front().toString(), "");
}

TEST(ASFTextAttribute, GoesAwayWhenAbsent) {
  TagLib::ASF::Tag tag;
  tag.addAttribute("WM/Composer", TagLib::ASF::Attribute(String("one")));
  tag.addAttribute("WM/Composer", TagLib::ASF::Attribute(String("two")));
  tag.setAttribute("WM/Genre", TagLib::ASF::Attribute(String("stays")));
  setASFTextAttribute(tag, "WM/Composer", nullptr);
  EXPECT_FALSE(tag.contains("WM/Composer"));
  EXPECT_TRUE(tag.contains("WM/Genre"));
}

TEST(APETextItem, HoldsOneTextUnderTheKeyAsItIsSpelt) {
  TagLib::APE::Tag tag;
  tag.setItem("COMPOSER", TagLib::APE::Item("COMPOSER", StringList("old").append("older")));
  tag.setItem("Mood", TagLib::APE::Item("Mood", String("stays")));
  setAPETextItem(tag, "Composer", kText);
  const auto& items = tag.itemListMap();
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items["COMPOSER"].key(), "Composer");
  EXPECT_EQ(items["COMPOSER"].type(), TagLib::APE::Item::Text);
  EXPECT_EQ(items["COMPOSER"].values(), StringList(utf8(kText)));
  EXPECT_EQ(items["MOOD"].values(), StringList("stays"));
}

TEST(APETextItem, HoldsAnEmptyTextThatIsNotSaved) {
  TagLib::APE::Tag tag;
  setAPETextItem(tag, "Composer", "");
  ASSERT_TRUE(tag.itemListMap().contains("COMPOSER"));
  EXPECT_TRUE(tag.itemListMap()["COMPOSER"].isEmpty()) << "which the library does not write";
}

TEST(APETextItem, GoesAwayWhenAbsent) {
  TagLib::APE::Tag tag;
  tag.setItem("composer", TagLib::APE::Item("composer", String("old")));
  tag.setItem("Mood", TagLib::APE::Item("Mood", String("stays")));
  setAPETextItem(tag, "Composer", nullptr);
  EXPECT_EQ(tag.itemListMap().size(), 1u);
  EXPECT_TRUE(tag.itemListMap().contains("MOOD"));
}

TEST(FamilyEditors, LogNothing) {
  const LogCapture log;
  TagLib::ID3v2::Tag id3v2;
  editID3v2TextFrame(id3v2, "TCOM", kText);
  setID3v2UserTextFrame(id3v2, "CATALOGNUMBER", kText);
  setID3v2Comment(id3v2, kText);
  setID3v2Lyrics(id3v2, kText, nullptr);
  EXPECT_EQ(id3v2.frameList().size(), 4u);
  EXPECT_EQ(log.text(), "");
}

}  // namespace
}  // namespace tagwriter::test

// The editors of ID3v2 frames, on tags that belong to no file.
#include <commentsframe.h>
#include <gtest/gtest.h>
#include <textidentificationframe.h>
#include <unknownframe.h>
#include <unsynchronizedlyricsframe.h>

#include <string>
#include <vector>

#include "tagging/family_text.h"
#include "tagging/id3v2_frames.h"
#include "tests/support/log_capture.h"

namespace tagwriter::test {
namespace {

using TagLib::String;
using TagLib::ID3v2::CommentsFrame;
using TagLib::ID3v2::TextIdentificationFrame;
using TagLib::ID3v2::UnsynchronizedLyricsFrame;
using TagLib::ID3v2::UserTextIdentificationFrame;

constexpr char kText[] = "Žluť 🎵";

class ID3v2Editors : public testing::Test {
 protected:
  void addText(const char* id, const char* text) {
    auto* frame = new TextIdentificationFrame(id, String::Latin1);
    frame->setText(text);
    tag_.addFrame(frame);
  }
  void addUserText(const char* description, const char* text, String::Type encoding) {
    auto* frame = new UserTextIdentificationFrame(encoding);
    frame->setDescription(description);
    frame->setText(text);
    tag_.addFrame(frame);
  }
  void addComment(const char* language, const char* description, const char* text,
                  String::Type encoding = String::Latin1) {
    auto* frame = new CommentsFrame(encoding);
    frame->setLanguage(language);
    frame->setDescription(String(description, String::UTF8));
    frame->setText(text);
    tag_.addFrame(frame);
  }
  void addLyrics(const char* language, const char* description, const char* text) {
    auto* frame = new UnsynchronizedLyricsFrame(String::UTF16);
    frame->setLanguage(language);
    frame->setDescription(description);
    frame->setText(text);
    tag_.addFrame(frame);
  }

  /// "language|description|text" for each comment, in their order.
  std::vector<std::string> comments() const {
    std::vector<std::string> result;
    for (const auto* frame : tag_.frameList("COMM")) {
      const auto* comment = dynamic_cast<const CommentsFrame*>(frame);
      if (!comment) {
        result.emplace_back("unknown");
        continue;
      }
      result.push_back(std::string(comment->language().data(), comment->language().size()) + "|" +
                       comment->description().to8Bit(true) + "|" + comment->text().to8Bit(true));
    }
    return result;
  }

  using Comments = std::vector<std::string>;
  TagLib::ID3v2::Tag tag_;
};

// Text frames -----------------------------------------------------------------------------------

TEST_F(ID3v2Editors, TextReplacesEveryFrameOfItsIdentifier) {
  addText("TCOM", "one");
  addText("TCOM", "two");
  addText("TEXT", "stays");
  editID3v2TextFrame(tag_, "TCOM", kText);
  const auto& frames = tag_.frameList("TCOM");
  ASSERT_EQ(frames.size(), 1u);
  const auto* frame = dynamic_cast<TextIdentificationFrame*>(frames.front());
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->textEncoding(), String::UTF8);
  EXPECT_EQ(frame->toString().to8Bit(true), kText);
  EXPECT_EQ(tag_.frameList("TEXT").size(), 1u);
  EXPECT_EQ(tag_.frameList().size(), 2u);
}

TEST_F(ID3v2Editors, TextIsUTF8EvenWhenItIsASCII) {
  setID3v2TextFrame(tag_, "TENC", "plain");
  const auto* frame = dynamic_cast<TextIdentificationFrame*>(tag_.frameList("TENC").front());
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->textEncoding(), String::UTF8);
}

TEST_F(ID3v2Editors, EmptyAndAbsentTextRemoveEveryFrame) {
  for (const char* value : {"", static_cast<const char*>(nullptr)}) {
    addText("TCOM", "one");
    addText("TCOM", "two");
    editID3v2TextFrame(tag_, "TCOM", value);
    EXPECT_TRUE(tag_.frameList("TCOM").isEmpty());
  }
  editID3v2TextFrame(tag_, "TCOM", nullptr);
  EXPECT_TRUE(tag_.isEmpty());
}

// The user text frame ---------------------------------------------------------------------------

TEST_F(ID3v2Editors, UserTextIsAddedInUTF8) {
  addUserText("MOOD", "calm", String::Latin1);
  setID3v2UserTextFrame(tag_, "CATALOGNUMBER", kText);
  const auto* frame = UserTextIdentificationFrame::find(&tag_, "CATALOGNUMBER");
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->textEncoding(), String::UTF8);
  EXPECT_EQ(frame->fieldList().back().to8Bit(true), kText);
  EXPECT_EQ(tag_.frameList("TXXX").size(), 2u);
}

TEST_F(ID3v2Editors, UserTextKeepsTheEncodingOfTheFirstFrame) {
  addUserText("CATALOGNUMBER", "one", String::UTF16);
  addUserText("CATALOGNUMBER", "two", String::Latin1);
  setID3v2UserTextFrame(tag_, "CATALOGNUMBER", kText);
  const auto& frames = tag_.frameList("TXXX");
  ASSERT_EQ(frames.size(), 2u);
  const auto* first = dynamic_cast<UserTextIdentificationFrame*>(frames.front());
  EXPECT_EQ(first->textEncoding(), String::UTF16);
  EXPECT_EQ(first->description(), "CATALOGNUMBER");
  EXPECT_EQ(first->fieldList().back().to8Bit(true), kText);
  const auto* second = dynamic_cast<UserTextIdentificationFrame*>(frames.back());
  EXPECT_EQ(second->fieldList().back(), "two");
}

TEST_F(ID3v2Editors, UserTextIsFoundByItsExactDescription) {
  addUserText("CatalogNumber", "other", String::Latin1);
  setID3v2UserTextFrame(tag_, "CATALOGNUMBER", kText);
  setID3v2UserTextFrame(tag_, "CATALOGNUMBER", nullptr);
  ASSERT_EQ(tag_.frameList("TXXX").size(), 1u);
  EXPECT_TRUE(UserTextIdentificationFrame::find(&tag_, "CatalogNumber"));
}

TEST_F(ID3v2Editors, EmptyUserTextIsSetAsItIs) {
  setID3v2UserTextFrame(tag_, "CATALOGNUMBER", "");
  const auto* frame = UserTextIdentificationFrame::find(&tag_, "CATALOGNUMBER");
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->fieldList().back(), "");
}

TEST_F(ID3v2Editors, AbsentUserTextRemovesTheFirstFrameOnly) {
  addUserText("CATALOGNUMBER", "one", String::Latin1);
  addUserText("MOOD", "calm", String::Latin1);
  addUserText("CATALOGNUMBER", "two", String::Latin1);
  setID3v2UserTextFrame(tag_, "CATALOGNUMBER", nullptr);
  EXPECT_EQ(tag_.frameList("TXXX").size(), 2u);
  EXPECT_EQ(UserTextIdentificationFrame::find(&tag_, "CATALOGNUMBER")->fieldList().back(), "two");
}

// The main comment ------------------------------------------------------------------------------

TEST_F(ID3v2Editors, CommentIsAddedInEnglishWithoutADescription) {
  setID3v2Comment(tag_, kText);
  EXPECT_EQ(comments(), (Comments{"eng||Žluť 🎵"}));
  const auto* frame = dynamic_cast<CommentsFrame*>(tag_.frameList("COMM").front());
  EXPECT_EQ(frame->textEncoding(), String::UTF8);
}

TEST_F(ID3v2Editors, CommentPrefersEnglishWhateverTheOrder) {
  addComment("deu", "", "A");
  addComment("eng", "Comment", "B");
  addComment("eng", "", "C");
  setID3v2Comment(tag_, "new");
  EXPECT_EQ(comments(), (Comments{"deu||A", "eng|Comment|new", "eng||C"}));
}

TEST_F(ID3v2Editors, CommentIsTheFirstOneWhenNoneIsEnglish) {
  addComment("fra", "other", "A");
  addComment("deu", "", "B", String::UTF16);
  addComment("fra", "comment", "C");
  setID3v2Comment(tag_, "new");
  EXPECT_EQ(comments(), (Comments{"fra|other|A", "deu||new", "fra|comment|C"}));
  const auto* frame = dynamic_cast<CommentsFrame*>(*std::next(tag_.frameList("COMM").begin()));
  EXPECT_EQ(frame->textEncoding(), String::UTF16);
}

TEST_F(ID3v2Editors, CommentTakesTheLanguageToTheLetter) {
  addComment("deu", "", "A");
  addComment("ENG", "", "B");
  addComment("Eng", "", "C");
  setID3v2Comment(tag_, "new");
  EXPECT_EQ(comments(), (Comments{"deu||new", "ENG||B", "Eng||C"}));
}

TEST_F(ID3v2Editors, CommentTakesTwoDescriptionsInAnyCase) {
  for (const char* description : {"comment", "COMMENT", "cOmMeNt", "Songs-DB_Custom1",
                                  "songs-db_custom1", "SONGS-DB_CUSTOM1"}) {
    addComment("eng", description, "old");
    setID3v2Comment(tag_, "new");
    EXPECT_EQ(comments(), (Comments{"eng|" + std::string(description) + "|new"}));
    setID3v2Comment(tag_, nullptr);
    EXPECT_EQ(comments(), Comments{}) << description;
  }
}

TEST_F(ID3v2Editors, CommentNeverTouchesOtherDescriptions) {
  const std::vector<const char*> others = {
      "comments",          "commen",   " comment", "comment ",      "Kommentar", "Songs-DB_Custom2",
      "Songs-DB_Custom10", "iTunNORM", "ÇOMMENT",  "comm\xc4\x99nt"};
  Comments expected;
  for (const char* description : others) {
    addComment("eng", description, "stays");
    expected.push_back("eng|" + std::string(description) + "|stays");
  }
  setID3v2Comment(tag_, nullptr);
  EXPECT_EQ(comments(), expected);
  setID3v2Comment(tag_, "new");
  expected.emplace_back("eng||new");
  EXPECT_EQ(comments(), expected);
}

TEST_F(ID3v2Editors, CommentMayBecomeEmpty) {
  addComment("eng", "", "old");
  setID3v2Comment(tag_, "");
  EXPECT_EQ(comments(), (Comments{"eng||"}));
  setID3v2Comment(tag_, nullptr);
  setID3v2Comment(tag_, "");
  EXPECT_EQ(comments(), (Comments{"eng||"})) << "an empty comment is added as well";
}

TEST_F(ID3v2Editors, AbsentCommentRemovesEveryMainOneInEveryLanguage) {
  addComment("deu", "", "A");
  addComment("eng", "Comment", "B");
  addComment("fra", "note", "C");
  addComment("jpn", "songs-DB_custom1", "D");
  addComment("eng", "", "E");
  setID3v2Comment(tag_, nullptr);
  EXPECT_EQ(comments(), (Comments{"fra|note|C"}));
}

TEST_F(ID3v2Editors, CommentPassesOverFramesThatAreNoComments) {
  tag_.addFrame(new TagLib::ID3v2::UnknownFrame(TagLib::ByteVector("COMM\0\0\0\1\0\0x", 11)));
  setID3v2Comment(tag_, "new");
  EXPECT_EQ(comments(), (Comments{"unknown", "eng||new"}));
  setID3v2Comment(tag_, nullptr);
  EXPECT_EQ(comments(), (Comments{"unknown"}));
}

// Lyrics ----------------------------------------------------------------------------------------

TEST_F(ID3v2Editors, LyricsReplaceEveryFrame) {
  addLyrics("eng", "", "one");
  addLyrics("deu", "zwei", "two");
  setID3v2Lyrics(tag_, kText, nullptr);
  ASSERT_EQ(tag_.frameList("USLT").size(), 1u);
  const auto* frame = dynamic_cast<UnsynchronizedLyricsFrame*>(tag_.frameList("USLT").front());
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->textEncoding(), String::UTF8);
  EXPECT_EQ(frame->language(), "eng");
  EXPECT_EQ(frame->description(), "");
  EXPECT_EQ(frame->text().to8Bit(true), kText);
}

TEST_F(ID3v2Editors, EmptyLyricsLeaveAnEmptyFrame) {
  addLyrics("deu", "", "one");
  setID3v2Lyrics(tag_, "", nullptr);
  ASSERT_EQ(tag_.frameList("USLT").size(), 1u);
  EXPECT_EQ(tag_.frameList("USLT").front()->toString(), "");
}

TEST_F(ID3v2Editors, AbsentLyricsLeaveNone) {
  addLyrics("eng", "", "one");
  addLyrics("deu", "zwei", "two");
  addText("TEXT", "stays");
  setID3v2Lyrics(tag_, nullptr, nullptr);
  EXPECT_TRUE(tag_.frameList("USLT").isEmpty());
  EXPECT_EQ(tag_.frameList().size(), 1u);
}

// What the editors log when the library throws is not shown here: in the calls that they make it
// throws nothing but std::bad_alloc.

}  // namespace
}  // namespace tagwriter::test

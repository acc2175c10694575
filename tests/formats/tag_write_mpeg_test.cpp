// The format-dispatched write on MPEG files, which may carry two tags that are edited.
#include <gtest/gtest.h>
#include <mpegfile.h>
#include <tpropertymap.h>

#include <algorithm>

#include "tests/formats/tag_write_fixture.h"

namespace tagwriter::test {
namespace {

using enum Family;
using Families = std::vector<Family>;

constexpr std::size_t kId3v1Size = 128;

/// What is in an MPEG file, read by path.
struct Tags {
  explicit Tags(const std::string& path) : file(path.c_str(), false) {}
  std::string id3v2(const char* property) {
    return file.ID3v2Tag(true)->properties()[property].toString().to8Bit(true);
  }
  std::string id3v1Comment() { return file.ID3v1Tag(true)->comment().to8Bit(true); }
  TagLib::MPEG::File file;
};

std::string lastTag(const std::string& bytes) {
  return bytes.substr(bytes.size() - kId3v1Size);
}

class TagWriteMpegTest : public TagWriteTest {
 protected:
  /// Writes into a new copy of tests/data/`name` with the editors of `given`: those in `expected`
  /// run, in this order, and if there are any, their tags are saved. No tag is made or lost but for
  /// the ID3v2 tag.
  void check(const char* name, const Families& given, const Families& expected) {
    SCOPED_TRACE(testing::Message() << name << " with " << given.size() << " editors");
    const std::string path = directory_.copyOf(name);
    const bool hadId3v1 = Tags(path).file.hasID3v1Tag();
    RecordingEditors editors;
    editors.keepOnly(given);
    EXPECT_EQ(write(path, editors), !expected.empty());
    EXPECT_EQ(editors.ran, expected);
    EXPECT_EQ(readFile(path) == readFile(dataFile(name)), expected.empty());
    const auto isExpected = [&](Family family) {
      return std::find(expected.begin(), expected.end(), family) != expected.end();
    };
    EXPECT_EQ(Tags(path).file.hasID3v1Tag(), hadId3v1);
    EXPECT_EQ(Tags(path).id3v2("COMPOSER") == kMark, isExpected(kId3v2));
    EXPECT_EQ(Tags(path).id3v1Comment() == kMark, isExpected(kId3v1));
    EXPECT_EQ(log_.text(), "");
  }
};

TEST_F(TagWriteMpegTest, RunsBothEditorsOnAFileWithAnId3v1Tag) {
  for (const char* name : {"mp3_id3v24_id3v1.mp3", "mp3_id3v1.mp3"}) {
    check(name, {kId3v2, kId3v1}, {kId3v2, kId3v1});
    check(name, {kId3v2}, {kId3v2});
    check(name, {kId3v1}, {kId3v1});
    check(name, {}, {});
  }
}

TEST_F(TagWriteMpegTest, NeverRunsTheId3v1EditorOnAFileWithoutThatTag) {
  for (const char* name :
       {"mp3_id3v23.mp3", "mp3_id3v22.mp3", "mp3_id3v2_ape.mp3", "mp3_plain.mp3"}) {
    check(name, {kId3v2, kId3v1}, {kId3v2});
    check(name, {kId3v2}, {kId3v2});
    check(name, {kId3v1}, {});
    check(name, {}, {});
  }
}

TEST_F(TagWriteMpegTest, NeverMakesAnId3v1TagHoweverOftenItSaves) {
  const std::string path = directory_.copyOf("mp3_plain.mp3");
  for (int round = 0; round < 3; ++round) {
    const RecordingEditors editors;
    EXPECT_TRUE(write(path, editors));
    EXPECT_FALSE(Tags(path).file.hasID3v1Tag());
    EXPECT_FALSE(Tags(path).file.hasAPETag());
    EXPECT_TRUE(readFile(path).ends_with(readFile(dataFile("mp3_plain.mp3"))));
  }
}

TEST_F(TagWriteMpegTest, TakesAnId3v1TagOfBlanksForATag) {
  std::string blanks(kId3v1Size, '\0');
  blanks.replace(0, 3, "TAG");
  const std::string path = directory_.write("a.mp3", readFile(dataFile("mp3_plain.mp3")) + blanks);
  RecordingEditors editors;
  EXPECT_TRUE(write(path, editors));
  EXPECT_EQ(editors.ran, (Families{kId3v2, kId3v1}));
  EXPECT_EQ(Tags(path).id3v1Comment(), kMark);
}

TEST_F(TagWriteMpegTest, LeavesTheId3v1TagToTheByteWhenOnlyTheOtherIsEdited) {
  for (const char* name : {"mp3_id3v24_id3v1.mp3", "mp3_id3v1.mp3"}) {
    const std::string path = directory_.copyOf(name);
    RecordingEditors editors;
    editors.keepOnly({kId3v2});
    EXPECT_TRUE(write(path, editors));
    EXPECT_EQ(lastTag(readFile(path)), lastTag(readFile(dataFile(name)))) << name;
  }
}

TEST_F(TagWriteMpegTest, LeavesAnEmptyTagOutOfTheFile) {
  const std::string path = directory_.copyOf("mp3_plain.mp3");
  VQNTagWritingBlocks blocks;
  blocks.id3v2Block = [](TagLib::ID3v2::Tag*) {};
  const HandedOver file(path);
  EXPECT_TRUE(writeTagToFile(file.fd(), path.c_str(), blocks, request_));
  EXPECT_EQ(readFile(path), readFile(dataFile("mp3_plain.mp3")));
}

// The next three are the tag library's share of a save.

TEST_F(TagWriteMpegTest, CopiesId3v1ValuesIntoId3v2FieldsThatAreEmpty) {
  for (const Families& given : {Families{kId3v2}, Families{kId3v1}, Families{kId3v2, kId3v1}}) {
    const std::string path = directory_.copyOf("mp3_id3v24_id3v1.mp3");
    ASSERT_EQ(Tags(path).id3v2("COMMENT"), "");
    ASSERT_EQ(Tags(path).id3v2("GENRE"), "");
    RecordingEditors editors;
    editors.keepOnly(given);
    EXPECT_TRUE(write(path, editors));
    const bool commentIsMarked = given.back() == kId3v1;
    EXPECT_EQ(Tags(path).id3v2("COMMENT"),
              commentIsMarked ? kMark : "a comment of 28 characters..");
    EXPECT_EQ(Tags(path).id3v2("GENRE"), "Rock");
    EXPECT_EQ(Tags(path).id3v2("ARTIST"), "Zoë Müller");
  }
}

TEST_F(TagWriteMpegTest, MakesAnId3v2TagOfTheId3v1TagThatIsAlone) {
  const std::string path = directory_.copyOf("mp3_id3v1.mp3");
  ASSERT_FALSE(Tags(path).file.hasID3v2Tag());
  RecordingEditors editors;
  editors.keepOnly({kId3v1});
  EXPECT_TRUE(write(path, editors));
  EXPECT_TRUE(Tags(path).file.hasID3v2Tag());
  EXPECT_EQ(Tags(path).id3v2("TITLE"), "Rising Tone");
  EXPECT_EQ(Tags(path).id3v2("TRACKNUMBER"), "7");
  EXPECT_EQ(Tags(path).id3v2("COMMENT"), kMark);
}

TEST_F(TagWriteMpegTest, WritesVersion24WhateverItWas) {
  for (const char* name :
       {"mp3_plain.mp3", "mp3_id3v22.mp3", "mp3_id3v23.mp3", "mp3_id3v24_id3v1.mp3"}) {
    const std::string path = directory_.copyOf(name);
    const RecordingEditors editors;
    EXPECT_TRUE(write(path, editors));
    EXPECT_EQ(readFile(path).substr(0, 5), std::string("ID3\x04\0", 5)) << name;
  }
}

}  // namespace
}  // namespace tagwriter::test

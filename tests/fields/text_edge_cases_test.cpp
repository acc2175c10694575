// Text fields over what real files hold already.
#include <gtest/gtest.h>
#include <vorbisfile.h>
#include <xiphcomment.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/fields/edit.h"
#include "tests/fields/places.h"
#include "tests/fields/prepare.h"
#include "tests/fields/tag_contents.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

using namespace std::string_literals;
using Values = std::vector<std::string>;

class TextEdgeCases : public testing::Test {
 protected:
  /// The values under a name, none when it is not there.
  static Values valuesIn(const std::string& path, const std::string& name) {
    const TagContents contents = readTagContents(path);
    const auto found = contents.find(name);
    return found == contents.end() ? Values() : found->second;
  }

  static bool hasID3v1(const std::string& path) {
    return readTagContents(path).contains("ID3v1 title");
  }

  /// Writes a text into a copy of a test file and returns its path.
  std::string written(const char* file, const char* field, const char* text) {
    std::string path = directory_.copyOf(file);
    EXPECT_TRUE(writeField(path, field, textValue(text))) << file;
    return path;
  }

  TemporaryDirectory directory_;
};

TEST_F(TextEdgeCases, EmptyComposerRemovesEveryFrameOfAnMP3) {
  const std::string path = directory_.copyOf("mp3_id3v23.mp3");
  prepareID3v2(path, [](TagLib::ID3v2::Tag& tag) { addText(tag, "TCOM", "B. Composer"); });
  ASSERT_EQ(valuesIn(path, "ID3v2 TCOM").size(), 2u);
  EXPECT_TRUE(writeField(path, "composer", textValue("")));
  EXPECT_EQ(valuesIn(path, "ID3v2 TCOM"), Values());
}

TEST_F(TextEdgeCases, EmptyComposerLeavesAnEmptyItemInAnM4A) {
  EXPECT_EQ(valuesIn(written("m4a_tagged.m4a", "composer", ""), "MP4 \251wrt"),
            Values{mp4Text("")});
}

TEST_F(TextEdgeCases, EmptyComposerIsHandedToAFLACWhoseCommentDropsIt) {
  const std::string path = written("flac_comment.flac", "composer", "Somebody");
  EXPECT_EQ(valuesIn(path, "Xiph COMPOSER"), Values{"Somebody"});
  EXPECT_TRUE(writeField(path, "composer", textValue("")));
  EXPECT_EQ(valuesIn(path, "Xiph COMPOSER"), Values());
}

TEST_F(TextEdgeCases, AbsentComposerGoesAwayInEveryFamily) {
  const struct {
    const char* file;
    const char* name;
  } kFiles[] = {
      {"mp3_id3v23.mp3", "ID3v2 TCOM"},       {"m4a_tagged.m4a", "MP4 \251wrt"},
      {"vorbis_tagged.ogg", "Xiph COMPOSER"}, {"wma_tagged.wma", "ASF WM/Composer"},
      {"ape_tagged.ape", "APE Composer"},
  };
  for (const auto& [file, name] : kFiles) {
    const std::string path = written(file, "composer", "Somebody");
    EXPECT_EQ(valuesIn(path, name).size(), 1u) << file;
    EXPECT_TRUE(writeField(path, "composer", textValue(nullptr)));
    EXPECT_EQ(valuesIn(path, name), Values()) << file;
  }
}

TEST_F(TextEdgeCases, CommentOfAnMP3IsTheFirstEnglishOne) {
  const std::string path = directory_.copyOf("mp3_plain.mp3");
  prepareID3v2(path, [](TagLib::ID3v2::Tag& tag) {
    addComment(tag, "deu", "", "A");
    addComment(tag, "eng", "Comment", "B");
  });
  EXPECT_TRUE(writeField(path, "comment", textValue("new")));
  EXPECT_EQ(valuesIn(path, "ID3v2 COMM:deu:"), Values{"\3deu\0A"s});
  EXPECT_EQ(valuesIn(path, "ID3v2 COMM:eng:Comment"), Values{"\3engComment\0new"s});
  EXPECT_TRUE(writeField(path, "comment", textValue(nullptr)));
  EXPECT_EQ(readTagContents(path), TagContents());
}

TEST_F(TextEdgeCases, CommentOfAnMP3LeavesOtherDescriptionsAlone) {
  const std::string path = directory_.copyOf("mp3_plain.mp3");
  prepareID3v2(path, [](TagLib::ID3v2::Tag& tag) { addComment(tag, "eng", "note", "A"); });
  const TagContents before = readTagContents(path);
  EXPECT_TRUE(writeField(path, "comment", textValue("new")));
  TagContents expected = before;
  expected["ID3v2 COMM:eng:"] = {"\3eng\0new"s};
  EXPECT_TRUE(sameContents(readTagContents(path), expected));
  EXPECT_TRUE(writeField(path, "comment", textValue(nullptr)));
  EXPECT_TRUE(sameContents(readTagContents(path), before));
}

TEST_F(TextEdgeCases, CommentOfAnMP3GoesIntoBothTags) {
  const std::string path = written("mp3_id3v24_id3v1.mp3", "comment", "new");
  EXPECT_EQ(valuesIn(path, "ID3v1 comment"), Values{"new"});
  EXPECT_EQ(valuesIn(path, "ID3v2 COMM:eng:"), Values{"\3eng\0new"s});
  EXPECT_TRUE(writeField(path, "comment", textValue(nullptr)));
  EXPECT_EQ(valuesIn(path, "ID3v1 comment"), Values{""});
  EXPECT_EQ(valuesIn(path, "ID3v2 COMM:eng:"), Values());
}

TEST_F(TextEdgeCases, CommentAndTrackNumberGiveAnMP3NoID3v1Tag) {
  for (const char* file : {"mp3_plain.mp3", "mp3_id3v23.mp3"}) {
    const std::string path = written(file, "comment", "new");
    EXPECT_FALSE(hasID3v1(path)) << file;
    EXPECT_TRUE(writeField(path, "trackNumber", numberValue(4)));
    EXPECT_FALSE(hasID3v1(path)) << file;
  }
}

/// The library's own comment setter would take a DESCRIPTION for the comment.
TEST_F(TextEdgeCases, CommentAndDescriptionOfAFLACAreTwoFields) {
  const std::string path = written("flac_comment.flac", "description", "D");
  EXPECT_TRUE(writeField(path, "comment", textValue("C")));
  EXPECT_EQ(valuesIn(path, "Xiph COMMENT"), Values{"C"});
  EXPECT_EQ(valuesIn(path, "Xiph DESCRIPTION"), Values{"D"});
  EXPECT_TRUE(writeField(path, "comment", textValue(nullptr)));
  EXPECT_EQ(valuesIn(path, "Xiph COMMENT"), Values());
  EXPECT_EQ(valuesIn(path, "Xiph DESCRIPTION"), Values{"D"});
}

/// The library's: in a file with an ID3v1 tag an empty main comment counts as none, and where both
/// tags have none, saving removes all comments from the ID3v2 tag, those of others too.
TEST_F(TextEdgeCases, EmptyCommentTakesAllCommentsOutOfAnMP3WithAnID3v1Tag) {
  const std::string path = directory_.copyOf("mp3_id3v24_id3v1.mp3");
  prepareID3v2(path, [](TagLib::ID3v2::Tag& tag) { addComment(tag, "eng", "note", "A"); });
  EXPECT_TRUE(writeField(path, "comment", textValue("new")));
  EXPECT_EQ(valuesIn(path, "ID3v2 COMM:eng:note").size(), 1u);
  EXPECT_TRUE(writeField(path, "comment", textValue("")));
  EXPECT_EQ(valuesIn(path, "ID3v2 COMM:eng:"), Values());
  EXPECT_EQ(valuesIn(path, "ID3v2 COMM:eng:note"), Values());
}

/// The library's: its generic file reference makes an MP3 file an ID3v1 tag and fills what the
/// ID3v2 tag does not say from there. That is nothing, but it is put in the place of all comments
/// where the main one is empty, and of a track that has a total only.
TEST_F(TextEdgeCases, TitleTakesAnEmptyMainCommentAndWithItAllOthersOutOfAnMP3) {
  const std::string path = written("mp3_id3v23.mp3", "comment", "");
  EXPECT_EQ(valuesIn(path, "ID3v2 COMM:eng:").size(), 1u);
  EXPECT_EQ(valuesIn(path, "ID3v2 COMM:deu:Notiz").size(), 1u);
  EXPECT_TRUE(writeField(path, "title", textValue("new")));
  EXPECT_EQ(valuesIn(path, "ID3v2 COMM:eng:"), Values());
  EXPECT_EQ(valuesIn(path, "ID3v2 COMM:deu:Notiz"), Values());
}

TEST_F(TextEdgeCases, TitleTakesATrackWithATotalOnlyOutOfAnMP3) {
  const std::string path = directory_.copyOf("mp3_id3v23.mp3");
  EXPECT_TRUE(writeField(path, "trackNumber", numberValue(0)));
  EXPECT_EQ(valuesIn(path, "ID3v2 TRCK"), Values{id3v2Text("0/10")});
  EXPECT_TRUE(writeField(path, "title", textValue("new")));
  EXPECT_EQ(valuesIn(path, "ID3v2 TRCK"), Values());
}

TEST_F(TextEdgeCases, CatalogNumberOfAnMP3KeepsItsEncoding) {
  const std::string path = written("mp3_id3v23.mp3", "catalogNumber", "N 7");
  const std::string description = "\xff\xfe"s + "C\0A\0T\0A\0L\0O\0G\0N\0U\0M\0B\0E\0R\0"s;
  EXPECT_EQ(valuesIn(path, "ID3v2 TXXX:CATALOGNUMBER"),
            Values{"\1"s + description + "\0\0\xff\xfeN\0 \0007\0"s});
}

TEST_F(TextEdgeCases, GroupingLeavesOneFrameUnderEachName) {
  const std::string path = directory_.copyOf("mp3_id3v23.mp3");
  prepareID3v2(path, [](TagLib::ID3v2::Tag& tag) {
    for (const char* id : {"TIT1", "GRP1"}) {
      addText(tag, id, "one");
      addText(tag, id, "two");
    }
  });
  EXPECT_TRUE(writeField(path, "grouping", textValue("Live")));
  EXPECT_EQ(valuesIn(path, "ID3v2 TIT1"), Values{"\3Live"});
  EXPECT_EQ(valuesIn(path, "ID3v2 GRP1"), Values{"\3Live"});
}

TEST_F(TextEdgeCases, GroupingLeavesOneFieldUnderEachName) {
  const std::string path = directory_.copyOf("vorbis_tagged.ogg");
  prepare<TagLib::Vorbis::File>(path, [](TagLib::Vorbis::File& file) {
    for (const char* name : {"CONTENTGROUP", "GROUPING"}) {
      file.tag()->addField(name, "one", false);
      file.tag()->addField(name, "two", false);
    }
  });
  EXPECT_TRUE(writeField(path, "grouping", textValue("Live")));
  EXPECT_EQ(valuesIn(path, "Xiph CONTENTGROUP"), Values{"Live"});
  EXPECT_EQ(valuesIn(path, "Xiph GROUPING"), Values{"Live"});
}

TEST_F(TextEdgeCases, DescriptionHasNamesOfItsOwn) {
  EXPECT_EQ(valuesIn(written("ape_tagged.ape", "description", "D"), "APE DESCRIPTION"),
            Values{"text:D"});
  const std::string path = written("wma_tagged.wma", "description", "D");
  EXPECT_EQ(valuesIn(path, "ASF Description"), Values{"text:D"});
  EXPECT_EQ(valuesIn(path, "ASF (description)"), Values{""}) << "which is the comment's";
}

TEST_F(TextEdgeCases, LyricsLeaveOneFrameOfSeveral) {
  const std::string path = written("mp3_id3v23.mp3", "lyrics", "Žluť");
  EXPECT_EQ(valuesIn(path, "ID3v2 USLT:eng:"), Values{"\3eng\0Žluť"s});
  EXPECT_EQ(valuesIn(path, "ID3v2 USLT:deu:"), Values());
  EXPECT_TRUE(writeField(path, "lyrics", textValue(nullptr)));
  EXPECT_EQ(valuesIn(path, "ID3v2 USLT:eng:"), Values());
}

TEST_F(TextEdgeCases, LyricsHaveANameInEveryFamily) {
  EXPECT_EQ(valuesIn(written("m4a_tagged.m4a", "lyrics", "L"), "MP4 \251lyr"),
            Values{mp4Text("L")});
  EXPECT_EQ(valuesIn(written("flac_comment.flac", "lyrics", "L"), "Xiph UNSYNCEDLYRICS"),
            Values{"L"});
  EXPECT_EQ(valuesIn(written("wma_tagged.wma", "lyrics", "L"), "ASF WM/Lyrics"), Values{"text:L"});
  EXPECT_EQ(valuesIn(written("ape_tagged.ape", "lyrics", "L"), "APE Lyrics"), Values{"text:L"});
}

/// A WMA file keeps the lengths of title, artist and comment in 16 bits. What does not fit must not
/// go in: the library writes a length that is too short, the text and its neighbours become others,
/// and the library itself finds no attribute any more.
TEST_F(TextEdgeCases, TextTooLongForAWMAIsRefused) {
  const std::string tooLong(32767, 'x');  // one more than fits, with the terminator
  for (const char* field : {"title", "artist", "comment"}) {
    const std::string path = directory_.copyOf("wma_tagged.wma");
    EXPECT_FALSE(writeField(path, field, textValue(tooLong.c_str()))) << field;
    EXPECT_TRUE(readFile(path) == readFile(dataFile("wma_tagged.wma"))) << field;
  }
}

TEST_F(TextEdgeCases, LongestTextThatFitsAWMA) {
  const std::string longest(32766, 'x');
  const std::pair<const char*, const char*> kFields[] = {
      {"title", "ASF (title)"}, {"artist", "ASF (author)"}, {"comment", "ASF (description)"}};
  for (const auto& [field, name] : kFields) {
    const std::string path = directory_.copyOf("wma_tagged.wma");
    TagContents expected = readTagContents(path);
    expected[name] = {longest};
    EXPECT_TRUE(writeField(path, field, textValue(longest.c_str())));
    EXPECT_TRUE(sameContents(readTagContents(path), expected));
  }
}

}  // namespace
}  // namespace tagwriter::test

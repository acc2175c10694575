// The cue sheet, which has a road of its own.
#include "tagging/cue_sheet.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/fields/edit.h"
#include "tests/fields/tag_contents.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

using TagLib::String;
using TagLib::StringList;
using Values = std::vector<std::string>;

constexpr char kSheet[] = "FILE \"a.wav\" WAVE\n  TRACK 01 AUDIO\n    TITLE \"Žluť 🎵\"\n";

TEST(AddXiphCueSheet, ReplacesAllValues) {
  TagLib::Ogg::XiphComment comment;
  comment.addField("CUESHEET", "one", false);
  comment.addField("cuesheet", "two", false);
  comment.addField("TITLE", "stays");
  addXiphCueSheet(&comment, String(kSheet, String::UTF8));
  EXPECT_EQ(comment.fieldListMap()["CUESHEET"], StringList(String(kSheet, String::UTF8)));
  EXPECT_EQ(comment.fieldCount(), 2u);
}

TEST(AddXiphCueSheet, DropsAnEmptyOne) {
  TagLib::Ogg::XiphComment comment;
  comment.addField("CUESHEET", "one");
  addXiphCueSheet(&comment, "");
  EXPECT_EQ(comment.fieldCount(), 0u);
}

TEST(AddXiphCueSheet, DoesNothingWithoutAComment) {
  addXiphCueSheet(nullptr, kSheet);
}

TEST(AddAPECueSheet, ReplacesAllValues) {
  TagLib::APE::Tag tag;
  tag.addValue("Cuesheet", "one", false);
  tag.addValue("CUESHEET", "two", false);
  tag.addValue("TITLE", "stays");
  addAPECueSheet(&tag, String(kSheet, String::UTF8));
  EXPECT_EQ(tag.itemListMap()["CUESHEET"].values(), StringList(String(kSheet, String::UTF8)));
  EXPECT_EQ(tag.itemListMap()["CUESHEET"].key(), "CUESHEET");
  EXPECT_EQ(tag.itemListMap().size(), 2u);
}

TEST(AddAPECueSheet, DropsAnEmptyOne) {
  TagLib::APE::Tag tag;
  tag.addValue("CUESHEET", "one");
  addAPECueSheet(&tag, "");
  EXPECT_TRUE(tag.isEmpty());
}

TEST(AddAPECueSheet, DoesNothingWithoutATag) {
  addAPECueSheet(nullptr, kSheet);
}

class CueSheet : public testing::Test {
 protected:
  void SetUp() override { log_.emplace(); }
  void TearDown() override { EXPECT_EQ(log_->text(), ""); }

  /// Writes a sheet that is taken and checks that it is the only thing that has changed.
  void expectWritten(const std::string& path, const std::string& name, const char* sheet,
                     const Values& expectedValues) {
    SCOPED_TRACE(path);
    TagContents expected = readTagContents(path);
    EXPECT_TRUE(writeField(path, "cueSheet", textValue(sheet)));
    expected.erase(name);
    if (!expectedValues.empty()) expected[name] = expectedValues;
    EXPECT_TRUE(sameContents(readTagContents(path), expected));
  }

  void expectRefused(const std::string& path) {
    const std::string before = readFile(path);
    for (const char* sheet : {kSheet, "", static_cast<const char*>(nullptr)}) {
      EXPECT_FALSE(writeField(path, "cueSheet", textValue(sheet))) << path;
      EXPECT_TRUE(readFile(path) == before) << path;
    }
  }

  TemporaryDirectory directory_;

 private:
  std::optional<LogCapture> log_;
};

TEST_F(CueSheet, ReplacesTheOneInAFLAC) {
  const std::string path = directory_.copyOf("flac_comment.flac");
  ASSERT_TRUE(readTagContents(path).contains("Xiph CUESHEET"));
  expectWritten(path, "Xiph CUESHEET", kSheet, {kSheet});
  expectWritten(path, "Xiph CUESHEET", nullptr, {});
}

TEST_F(CueSheet, IsNoReasonForACommentInAFLAC) {
  for (const char* sheet : {kSheet, static_cast<const char*>(nullptr)}) {
    const std::string path = directory_.copyOf("flac_plain.flac");
    TagContents expected = readTagContents(path);
    ASSERT_FALSE(expected.contains("Xiph vendor"));
    EXPECT_TRUE(writeField(path, "cueSheet", textValue(sheet)));
    // The library's: whatever is saved, a FLAC file gets a comment. This one has nothing in it.
    expected["Xiph vendor"] = {""};
    EXPECT_TRUE(sameContents(readTagContents(path), expected));
  }
}

TEST_F(CueSheet, GoesIntoEveryKindOfOgg) {
  for (const char* file : {"vorbis_plain.ogg", "vorbis_tagged.ogg", "vorbis.oga", "flac.oga",
                           "opus_plain.opus", "opus_tagged.opus"}) {
    expectWritten(directory_.copyOf(file), "Xiph CUESHEET", kSheet, {kSheet});
  }
}

TEST_F(CueSheet, GoesAwayFromOgg) {
  for (const char* file : {"vorbis_tagged.ogg", "vorbis.oga", "flac.oga", "opus_tagged.opus"}) {
    for (const char* sheet : {"", static_cast<const char*>(nullptr)}) {
      const std::string path = directory_.copyOf(file);
      expectWritten(path, "Xiph CUESHEET", kSheet, {kSheet});
      expectWritten(path, "Xiph CUESHEET", sheet, {});
    }
  }
}

TEST_F(CueSheet, GoesIntoAnAPETagThatIsThere) {
  for (const char* file : {"ape_tagged.ape", "ape_id3v1.ape", "wavpack_tagged.wv"}) {
    for (const char* sheet : {"", static_cast<const char*>(nullptr)}) {
      const std::string path = directory_.copyOf(file);
      expectWritten(path, "APE CUESHEET", kSheet, {"text:" + std::string(kSheet)});
      expectWritten(path, "APE CUESHEET", sheet, {});
    }
  }
}

TEST_F(CueSheet, IsNoReasonForAnAPETag) {
  expectRefused(directory_.copyOf("ape_plain.ape"));
  expectRefused(directory_.copyOf("wavpack_plain.wv"));
}

TEST_F(CueSheet, IsRefusedByOtherFormats) {
  for (const char* file : {"mp3_plain.mp3", "mp3_id3v23.mp3", "mp3_id3v2_ape.mp3", "m4a_tagged.m4a",
                           "wma_tagged.wma", "wav_id3.wav", "aiff_id3.aif", "aiff_plain.aiff",
                           "dsf_tagged.dsf", "mpc_tagged.mpc", "ac3.ac3", "au.au", "vgm.vgm"}) {
    expectRefused(directory_.copyOf(file));
  }
  expectRefused(directory_.copyOf("m4a_tagged.m4a", "protected.m4p"));
  expectRefused(directory_.copyOf("ape_tagged.ape", "other.shn"));
}

TEST_F(CueSheet, IsRefusedByAnOgaFileOfNeitherCodec) {
  expectRefused(directory_.copyOf("opus.oga"));
  expectRefused(directory_.copyOf("speex.oga"));
  expectRefused(directory_.write("short.oga", "OggS"));
}

TEST_F(CueSheet, IsRefusedByAnOggFLACStreamUnderTheNameOfVorbis) {
  expectRefused(directory_.copyOf("oggflac_named.ogg"));
}

TEST_F(CueSheet, IsRefusedByFilesThatAreNotValid) {
  for (const char* name : {"noise.flac", "noise.ogg", "noise.opus", "noise.ape", "noise.wv"}) {
    expectRefused(directory_.write(name, std::string(4000, 'n')));
  }
}

}  // namespace
}  // namespace tagwriter::test

// Where the tag library puts the core fields, and what it does beside: its share, not the
// service's.
#include <apefile.h>
#include <apetag.h>
#include <asffile.h>
#include <asftag.h>
#include <flacfile.h>
#include <gtest/gtest.h>
#include <id3v1tag.h>
#include <id3v2tag.h>
#include <infotag.h>
#include <mp4file.h>
#include <mpegfile.h>
#include <wavfile.h>
#include <xiphcomment.h>

#include "protocol/value_dictionary.h"
#include "tests/formats/core_file.h"
#include "tests/formats/core_writers.h"
#include "tests/formats/handed_over.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

class CoreFieldsLibraryTest : public testing::Test {
 protected:
  /// A copy of tests/data/`name`, called `as` if that is given, with this title.
  std::string titled(const std::string& name, const char* title = "New",
                     const std::string& as = "") {
    std::string path = directory_.copyOf(name, as);
    const HandedOver file(path);
    EXPECT_TRUE(writeTitle(file.fd(), path.c_str(), title, request_)) << name;
    return path;
  }
  void setYear(const std::string& path, std::int64_t year) {
    const HandedOver file(path);
    EXPECT_TRUE(writeYear(file.fd(), path.c_str(), year, request_)) << path;
  }

  TemporaryDirectory directory_;
  LogCapture log_;
  ValueDictionary request_;
};

TEST_F(CoreFieldsLibraryTest, FindsAFileByItsContentWhenTheNameIsUnknown) {
  for (const char* name : {"a.xyz", "a", "a.", "a.shn", "a.spc"}) {
    const std::string path = titled("mp3_id3v23.mp3", "New", name);
    EXPECT_EQ(TagLib::MPEG::File(path.c_str(), false).ID3v2Tag()->title(), "New") << name;
  }
  EXPECT_EQ(log_.text(), "");
}

TEST_F(CoreFieldsLibraryTest, FindsOpusAndSpeexAndFlacByContentUnderAnotherOggName) {
  for (const char* name : {"opus.oga", "speex.oga", "oggflac_named.ogg"}) {
    EXPECT_EQ(coreFieldsOf(titled(name)).title, "New") << name;
  }
}

TEST_F(CoreFieldsLibraryTest, MakesAnId3v1TagInAnMP3) {
  for (const char* name : {"mp3_plain.mp3", "mp3_id3v22.mp3", "mp3_id3v23.mp3"}) {
    const std::string path = titled(name);
    TagLib::MPEG::File file(path.c_str(), false);
    EXPECT_TRUE(file.hasID3v1Tag()) << name;
    EXPECT_EQ(file.ID3v1Tag()->title(), "New") << name;
  }
}

TEST_F(CoreFieldsLibraryTest, WritesIntoEveryTagOfAnMP3) {
  const std::string path = titled("mp3_id3v2_ape.mp3");
  TagLib::MPEG::File file(path.c_str(), false);
  EXPECT_EQ(file.ID3v2Tag()->title(), "New");
  EXPECT_EQ(file.APETag()->title(), "New");
}

TEST_F(CoreFieldsLibraryTest, WritesIntoEveryTagOfAFlacFile) {
  const std::string path = titled("flac_id3.flac");
  TagLib::FLAC::File file(path.c_str(), false);
  EXPECT_EQ(file.xiphComment()->title(), "New");
  EXPECT_EQ(file.ID3v2Tag()->title(), "New");
  EXPECT_EQ(file.ID3v1Tag()->title(), "New");
}

TEST_F(CoreFieldsLibraryTest, WritesIntoBothTagsOfAnApeFile) {
  const std::string path = titled("ape_id3v1.ape");
  TagLib::APE::File file(path.c_str(), false);
  EXPECT_EQ(file.APETag()->title(), "New");
  EXPECT_EQ(file.ID3v1Tag()->title(), "New");
}

TEST_F(CoreFieldsLibraryTest, LeavesTheInfoListOfAWavFileWithItsOldValues) {
  for (const char* name : {"wav_info.wav", "wav_info_id3.wav"}) {
    const std::string path = titled(name);
    const TagLib::RIFF::WAV::File file(path.c_str(), false);
    EXPECT_EQ(file.ID3v2Tag()->title(), "New") << name;
    EXPECT_EQ(file.InfoTag()->title(), "Rising Tone") << name;
  }
}

TEST_F(CoreFieldsLibraryTest, LeavesEmptyValuesInAWmaFile) {
  const std::string path = directory_.copyOf("wma_plain.wma");
  for (const StringField& field : kStringFields) {
    const HandedOver file(path);
    EXPECT_TRUE(field.write(file.fd(), path.c_str(), nullptr, request_));
  }
  setYear(path, 0);
  TagLib::ASF::File file(path.c_str(), false);
  TagLib::ASF::Tag* tag = file.tag();
  for (const char* name : {"WM/AlbumTitle", "WM/Genre"}) {
    ASSERT_TRUE(tag->contains(name)) << name;
    EXPECT_EQ(tag->attribute(name)[0].toString(), "") << name;
  }
  ASSERT_TRUE(tag->contains("WM/Year"));
  EXPECT_EQ(tag->attribute("WM/Year")[0].toString(), "0");
}

TEST_F(CoreFieldsLibraryTest, WritesAYearFrom2147483648OnWithAMinusSign) {
  const std::string mp3 = directory_.copyOf("mp3_plain.mp3");
  const std::string flac = directory_.copyOf("flac_plain.flac");
  const std::string m4a = directory_.copyOf("m4a_plain.m4a");
  for (const std::string& path : {mp3, flac, m4a}) setYear(path, 2147483648);
  TagLib::MPEG::File file(mp3.c_str(), false);
  const TagLib::ID3v2::FrameList& years = file.ID3v2Tag()->frameList("TDRC");
  ASSERT_EQ(years.size(), 1u);
  EXPECT_EQ(years.front()->toString(), "-2147483648");
  EXPECT_EQ(
      TagLib::FLAC::File(flac.c_str(), false).xiphComment()->fieldListMap()["DATE"].toString(),
      "-2147483648");
  EXPECT_EQ(TagLib::MP4::File(m4a.c_str(), false).tag()->item("\251day").toStringList().toString(),
            "-2147483648");
}

}  // namespace
}  // namespace tagwriter::test

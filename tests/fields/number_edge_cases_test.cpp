// Numbers, flags and ratings over what real files hold already.
#include <flacfile.h>
#include <gtest/gtest.h>
#include <xiphcomment.h>

#include <string>
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

class NumberEdgeCases : public testing::Test {
 protected:
  static Values valuesIn(const std::string& path, const std::string& name) {
    const TagContents contents = readTagContents(path);
    const auto found = contents.find(name);
    return found == contents.end() ? Values() : found->second;
  }

  std::string written(const char* file, const char* field, const FieldChange& value) {
    std::string path = directory_.copyOf(file);
    EXPECT_TRUE(writeField(path, field, value)) << file;
    return path;
  }

  /// A copy of an MP3 file whose track is `text`, or none when null, after an edit.
  Values trackOfMP3(const char* text, const char* field, std::int64_t value) {
    const std::string path = directory_.copyOf("mp3_plain.mp3");
    if (text) prepareID3v2(path, [&](TagLib::ID3v2::Tag& tag) { addText(tag, "TRCK", text); });
    EXPECT_TRUE(writeField(path, field, numberValue(value)));
    return valuesIn(path, "ID3v2 TRCK");
  }

  TemporaryDirectory directory_;
};

TEST_F(NumberEdgeCases, TrackNumberOfAnMP3) {
  EXPECT_EQ(trackOfMP3("1/10", "trackNumber", 4), Values{id3v2Text("4/10")});
  EXPECT_EQ(trackOfMP3("1", "trackNumber", 4), Values{id3v2Text("4")});
  EXPECT_EQ(trackOfMP3("1/10", "trackNumber", 0), Values{id3v2Text("0/10")});
  EXPECT_EQ(trackOfMP3("1", "trackNumber", 0), Values());
}

TEST_F(NumberEdgeCases, TrackTotalOfAnMP3) {
  EXPECT_EQ(trackOfMP3("4", "totalNumberOfTracks", 12), Values{id3v2Text("4/12")});
  EXPECT_EQ(trackOfMP3("4/12", "totalNumberOfTracks", 0), Values());
  EXPECT_EQ(trackOfMP3(nullptr, "totalNumberOfTracks", 12), Values());
}

/// The library's: what is gone from the ID3v2 tag comes back from the ID3v1 tag.
TEST_F(NumberEdgeCases, TrackTotalOfAnMP3WithAnID3v1Tag) {
  const std::string path = written("mp3_id3v24_id3v1.mp3", "totalNumberOfTracks", numberValue(12));
  EXPECT_EQ(valuesIn(path, "ID3v2 TRCK"), Values{id3v2Text("7/12")});
  EXPECT_TRUE(writeField(path, "totalNumberOfTracks", numberValue(0)));
  EXPECT_EQ(valuesIn(path, "ID3v2 TRCK"), Values{"\0"
                                                 "7"s});
  EXPECT_EQ(valuesIn(path, "ID3v1 track"), Values{"7"});
}

TEST_F(NumberEdgeCases, TrackNumberOfAnMP3GoesIntoBothTags) {
  const std::string path = written("mp3_id3v24_id3v1.mp3", "trackNumber", numberValue(4));
  EXPECT_EQ(valuesIn(path, "ID3v2 TRCK"), Values{id3v2Text("4")});
  EXPECT_EQ(valuesIn(path, "ID3v1 track"), Values{"4"});
  EXPECT_TRUE(writeField(path, "trackNumber", numberValue(0)));
  EXPECT_EQ(valuesIn(path, "ID3v2 TRCK"), Values());
  EXPECT_EQ(valuesIn(path, "ID3v1 track"), Values{"0"});
}

TEST_F(NumberEdgeCases, TrackOfAnM4A) {
  const std::string path = directory_.copyOf("m4a_plain.m4a");
  EXPECT_TRUE(writeField(path, "trackNumber", numberValue(4)));
  EXPECT_EQ(valuesIn(path, "MP4 trkn"), Values{mp4Pair("trkn", 4, 0)});

  const std::string tagged = written("m4a_tagged.m4a", "trackNumber", numberValue(4));
  EXPECT_EQ(valuesIn(tagged, "MP4 trkn"), Values{mp4Pair("trkn", 4, 10)});
  EXPECT_TRUE(writeField(tagged, "totalNumberOfTracks", numberValue(12)));
  EXPECT_EQ(valuesIn(tagged, "MP4 trkn"), Values{mp4Pair("trkn", 4, 12)});

  const std::string total = written("m4a_plain.m4a", "totalNumberOfTracks", numberValue(12));
  EXPECT_EQ(valuesIn(total, "MP4 trkn"), Values{mp4Pair("trkn", 0, 12)});
}

TEST_F(NumberEdgeCases, TrackOfAnAPEFile) {
  const std::string path = written("ape_tagged.ape", "trackNumber", numberValue(4));
  EXPECT_EQ(valuesIn(path, "APE Track"), Values{"text:4/10"});
  EXPECT_TRUE(writeField(path, "totalNumberOfTracks", numberValue(12)));
  EXPECT_EQ(valuesIn(path, "APE Track"), Values{"text:4/12"});
  EXPECT_TRUE(writeField(path, "trackNumber", numberValue(0)));
  EXPECT_EQ(valuesIn(path, "APE Track"), Values{"text:0/12"});
  EXPECT_TRUE(writeField(path, "totalNumberOfTracks", numberValue(12)));
  EXPECT_EQ(valuesIn(path, "APE Track"), Values());
}

TEST_F(NumberEdgeCases, TrackTotalIsNotForWMA) {
  for (const std::int64_t total : {0, 12}) {
    const std::string path = directory_.copyOf("wma_tagged.wma");
    EXPECT_FALSE(writeField(path, "totalNumberOfTracks", numberValue(total)));
    EXPECT_TRUE(readFile(path) == readFile(dataFile("wma_tagged.wma")));
  }
}

TEST_F(NumberEdgeCases, DiscInEveryFamily) {
  const struct {
    const char* file;
    const char* name;
    Values both, alone, zero;
  } kFiles[] = {
      {"mp3_id3v23.mp3", "ID3v2 TPOS", {id3v2Text("2/3")}, {id3v2Text("2")}, {id3v2Text("0")}},
      {"m4a_tagged.m4a", "MP4 disk", {mp4Pair("disk", 2, 3)}, {mp4Pair("disk", 2, 0)}, {}},
      {"vorbis_tagged.ogg", "Xiph DISCNUMBER", {"2/3"}, {"2"}, {"0"}},
      {"wma_tagged.wma", "ASF WM/PartOfSet", {"text:2/3"}, {"text:2"}, {"text:0"}},
      {"ape_tagged.ape", "APE Disc", {"text:2/3"}, {"text:2"}, {"text:0"}},
  };
  for (const auto& file : kFiles) {
    const std::string path = written(file.file, "disc", numberValue(2, 3));
    EXPECT_EQ(valuesIn(path, file.name), file.both) << file.file;
    EXPECT_TRUE(writeField(path, "disc", numberValue(2, 0)));
    EXPECT_EQ(valuesIn(path, file.name), file.alone) << file.file;
    EXPECT_TRUE(writeField(path, "disc", numberValue(0, 0)));
    EXPECT_EQ(valuesIn(path, file.name), file.zero) << file.file;
  }
}

TEST_F(NumberEdgeCases, TempoOfAFLACReplacesItsOtherName) {
  const std::string path = written("flac_comment.flac", "bpm", numberValue(120));
  EXPECT_EQ(valuesIn(path, "Xiph TEMPO"), Values{"120"});
  EXPECT_EQ(valuesIn(path, "Xiph BPM"), Values());
}

TEST_F(NumberEdgeCases, TempoOfZeroGoesAwayUnderEveryName) {
  const struct {
    const char* file;
    std::vector<const char*> names;
  } kFiles[] = {
      {"mp3_id3v23.mp3", {"ID3v2 TBPM"}},
      {"m4a_tagged.m4a", {"MP4 tmpo"}},
      {"flac_comment.flac", {"Xiph BPM", "Xiph TEMPO"}},
      {"wma_tagged.wma", {"ASF WM/BeatsPerMinute"}},
      {"ape_tagged.ape", {"APE BPM"}},
  };
  for (const auto& [file, names] : kFiles) {
    const std::string path = written(file, "bpm", numberValue(120));
    EXPECT_EQ(valuesIn(path, names.back()).size(), 1u) << file;
    if (path.ends_with(".flac")) {
      prepare<TagLib::FLAC::File>(
          path, [](TagLib::FLAC::File& flac) { flac.xiphComment()->addField("BPM", "118"); });
    }
    EXPECT_TRUE(writeField(path, "bpm", numberValue(0)));
    for (const char* name : names) EXPECT_EQ(valuesIn(path, name), Values()) << name;
  }
}

TEST_F(NumberEdgeCases, TrackTotalOfAFLACReplacesItsOtherName) {
  const std::string path = written("flac_comment.flac", "totalNumberOfTracks", numberValue(12));
  EXPECT_EQ(valuesIn(path, "Xiph TOTALTRACKS"), Values{"12"});
  EXPECT_EQ(valuesIn(path, "Xiph TRACKTOTAL"), Values());
  EXPECT_TRUE(writeField(path, "totalNumberOfTracks", numberValue(0)));
  EXPECT_EQ(valuesIn(path, "Xiph TOTALTRACKS"), Values());
}

TEST_F(NumberEdgeCases, CompilationSaysNoWhereItCan) {
  const std::string m4a = written("m4a_tagged.m4a", "compilation", flagValue(false));
  EXPECT_EQ(valuesIn(m4a, "MP4 cpil"), Values{mp4Integer("\0"s)});
  const std::string wma = written("wma_tagged.wma", "compilation", flagValue(false));
  EXPECT_EQ(valuesIn(wma, "ASF WM/IsCompilation"), Values{"bool:0"});
  EXPECT_EQ(valuesIn(wma, "ASF WM/Compilation"), Values());
  const std::string mp3 = written("mp3_id3v23.mp3", "compilation", flagValue(true));
  EXPECT_EQ(valuesIn(mp3, "ID3v2 TCMP"), Values{id3v2Text("1")});
  EXPECT_TRUE(writeField(mp3, "compilation", flagValue(false)));
  EXPECT_EQ(valuesIn(mp3, "ID3v2 TCMP"), Values());
}

TEST_F(NumberEdgeCases, RatingTakesThePlaceOfAllPopularimeters) {
  ASSERT_EQ(valuesIn(directory_.copyOf("mp3_id3v23.mp3"), "ID3v2 POPM").size(), 2u);
  const std::string none = written("mp3_id3v23.mp3", "rating", realValue(0.0));
  EXPECT_EQ(valuesIn(none, "ID3v2 POPM"), Values{"no@email\0\0\0\0\0\0"s});
  const std::string some = written("mp3_id3v23.mp3", "rating", realValue(3.5));
  EXPECT_EQ(valuesIn(some, "ID3v2 POPM"), Values{"no@email\0\xba\0\0\0\0"s});
}

}  // namespace
}  // namespace tagwriter::test

// The tags that are listed for every format.
#include "reading/tag_listing.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <id3v2tag.h>
#include <textidentificationframe.h>
#include <unistd.h>

#include <map>

#include "dsf/dsf_file.h"
#include "tests/support/descriptors.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

std::optional<TagListing> tagsIn(const std::string& path) {
  return readTags(openFile(path, O_RDONLY).get(), path);
}

const std::pair<std::string, std::string> kTitle = {"TITLE", "Rising Tone"};
const std::pair<std::string, std::string> kArtist = {"ARTIST", "Zo\xc3\xab M\xc3\xbcller"};

const std::map<std::string, TagListing> kTags = {
    {"mp3_plain.mp3", {}},
    {"m4a_tagged.m4a",
     {{"ALBUM", "Test Tones"},
      kArtist,
      {"COMPOSER", "A. Composer"},
      {"DISCNUMBER", "1/2"},
      {"LABEL", "A Label"},
      kTitle,
      {"TRACKNUMBER", "1/10"}}},
    {"vorbis_tagged.ogg",
     {{"ALBUM", "Test Tones"},
      kArtist,
      {"ARTIST", "The Other"},
      {"CATALOGNUMBER", "CAT 001"},
      {"DATE", "1999"},
      {"GENRE", "Test"},
      {"GENRE", "Tone"},
      kTitle,
      {"TRACKNUMBER", "1"}}},
    {"flac.oga", {kArtist, kTitle}},
    {"wma_tagged.wma", {{"COMPOSER", "A. Composer"}, kTitle}},
    {"wav_info.wav", {{"ARTIST", "The Artist"}, {"COMMENT", "a comment"}, kTitle}},
    {"wavpack_tagged.wv", {{"ALBUM", "Test Tones"}, kArtist, kTitle, {"TRACKNUMBER", "1/10"}}},
    {"dsf_tagged.dsf", {kArtist, kTitle}},
};

TEST(TagListing, OfFilesOfEveryFormat) {
  for (const std::string& name : audioFileNames()) {
    const bool isRead = name != "ac3.ac3" && name != "au.au" && name != "vgm.vgm";
    const auto tags = tagsIn(dataFile(name));
    EXPECT_EQ(tags.has_value(), isRead) << name;
    const auto expected = kTags.find(name);
    if (expected != kTags.end()) {
      EXPECT_EQ(tags, expected->second) << name;
    }
  }
}

TEST(TagListing, OfOtherFilesDoesNotExist) {
  const TemporaryDirectory directory;
  const LogCapture log;
  EXPECT_EQ(tagsIn(directory.write("noise.txt", "no audio")), std::nullopt);
  EXPECT_EQ(tagsIn(directory.write("noise.flac", std::string(5000, '\xff'))), std::nullopt);
  EXPECT_EQ(readTags(-1, "song.mp3"), std::nullopt);
  // TagLib takes any bytes with this name for an MPEG file.
  EXPECT_EQ(tagsIn(directory.write("empty.mp3", "")), TagListing());
}

TEST(TagListing, LeavesTheDescriptorOpenAndTheFileUnchanged) {
  const TemporaryDirectory directory;
  const UniqueFd file = openFile(directory.copyOf("vorbis_tagged.ogg"));
  const std::size_t before = countDescriptors();
  for (const char* name : {"/nowhere/at.all/song.ogg", "song.ogg"}) {
    ::lseek(file.get(), 0, SEEK_END);
    EXPECT_EQ(readTags(file.get(), name), kTags.at("vorbis_tagged.ogg"));
  }
  EXPECT_TRUE(isOpen(file.get()));
  EXPECT_EQ(countDescriptors(), before);
  EXPECT_EQ(readFile(directory.path() / "vorbis_tagged.ogg"),
            readFile(dataFile("vorbis_tagged.ogg")));
}

/// TagLib does not know the class and would list five fields only.
TEST(TagListing, ShowsAllThatIsInADSFFile) {
  const TemporaryDirectory directory;
  const std::string path = directory.copyOf("dsf_tagged.dsf");
  {
    TagLib::DSF::File file(path.c_str(), false);
    for (const auto& [id, value] :
         {std::pair("TCOM", "A. Composer"), std::pair("TPOS", "1/2"), std::pair("TBPM", "118")}) {
      auto* frame = new TagLib::ID3v2::TextIdentificationFrame(id, TagLib::String::UTF8);
      frame->setText(value);
      file.tag()->addFrame(frame);
    }
    ASSERT_TRUE(file.save());
  }
  EXPECT_EQ(
      tagsIn(path),
      (TagListing{
          kArtist, {"BPM", "118"}, {"COMPOSER", "A. Composer"}, {"DISCNUMBER", "1/2"}, kTitle}));
}

TEST(DiscPosition, IsFoundInEverySpelling) {
  struct {
    TagListing tags;
    std::int64_t number, total;
  } const discs[] = {
      {{}, 0, 0},
      {{{"DISCNUMBER", "03/12"}}, 3, 12},
      {{{"DISCNUMBER", "0/2"}}, 0, 2},
      {{{"TOTALDISCS", "3"}}, 0, 3},
      {{{"DISCNUMBER", "1/4"}, {"DISCTOTAL", "2"}, {"TOTALDISCS", "3"}}, 1, 4},
      {{{"DISCNUMBER", "1"}, {"DISCTOTAL", "2"}, {"TOTALDISCS", "3"}}, 1, 2},
      {{{"DISCNUMBER", "1"}, {"DISCTOTAL", "0"}, {"TOTALDISCS", "3"}}, 1, 3},
      {{{"DISCNUMBER", "1"}, {"DISCTOTAL", "x"}, {"TOTALDISCS", "3"}}, 1, 3},
      {{{"DISCNUMBER", "one"}, {"DISCTOTAL", "2"}}, 0, 2},
      {{{"DISCNUMBER", "1"}, {"DISCNUMBER", "2"}}, 1, 0},
      {{{"discnumber", "1"}, {"TRACKNUMBER", "7/9"}}, 0, 0},
  };
  for (const auto& disc : discs) {
    const DiscPosition position = discPositionOf(disc.tags);
    EXPECT_EQ(position.number, disc.number) << testing::PrintToString(disc.tags);
    EXPECT_EQ(position.total, disc.total) << testing::PrintToString(disc.tags);
  }
}

}  // namespace
}  // namespace tagwriter::test

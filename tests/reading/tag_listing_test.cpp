// The tags of every file, as they are listed for a reader.
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
    {"mp3_id3v1.mp3",
     {{"ALBUM", "Test Tones"},
      kArtist,
      {"COMMENT", "a comment of 28 characters.."},
      {"DATE", "1999"},
      {"GENRE", "Rock"},
      kTitle,
      {"TRACKNUMBER", "7"}}},
    {"m4a_tagged.m4a",
     {{"ALBUM", "Test Tones"},
      kArtist,
      {"COMPOSER", "A. Composer"},
      {"DISCNUMBER", "1/2"},
      {"LABEL", "A Label"},
      kTitle,
      {"TRACKNUMBER", "1/10"}}},
    {"flac_plain.flac", {}},
    {"flac_id3.flac", {kArtist, kTitle}},
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
    {"vorbis.oga", {kArtist, kTitle}},
    {"flac.oga", {kArtist, kTitle}},
    {"opus_plain.opus", {}},
    {"wma_tagged.wma", {{"COMPOSER", "A. Composer"}, kTitle}},
    {"aiff_id3.aif", {kArtist, {"CATALOGNUMBER", "CAT 001"}, kTitle}},
    {"wav_info.wav", {{"ARTIST", "The Artist"}, {"COMMENT", "a comment"}, kTitle}},
    {"wav_id3.wav", {kArtist, {"CATALOGNUMBER", "CAT 001"}, kTitle}},
    {"ape_tagged.ape",
     {{"ALBUM", "Test Tones"}, kArtist, {"ARTIST", "The Other"}, kTitle, {"TRACKNUMBER", "1/10"}}},
    {"wavpack_tagged.wv", {{"ALBUM", "Test Tones"}, kArtist, kTitle, {"TRACKNUMBER", "1/10"}}},
    {"mpc_tagged.mpc", {{"ARTIST", "The Artist"}, {"CATALOG", "CAT 001"}, kTitle}},
    {"dsf_plain.dsf", {}},
    {"dsf_tagged.dsf", {kArtist, kTitle}},
};

TEST(TagListing, OfFilesOfEveryFormat) {
  for (const auto& [name, tags] : kTags) EXPECT_EQ(tagsIn(dataFile(name)), tags) << name;
}

TEST(TagListing, ExistsForEveryFileThatTheLibraryReads) {
  for (const std::string& name : audioFileNames()) {
    const bool isRead = name != "ac3.ac3" && name != "au.au" && name != "vgm.vgm";
    EXPECT_EQ(tagsIn(dataFile(name)).has_value(), isRead) << name;
  }
}

TEST(TagListing, OfWhatIsNoAudioIsNone) {
  const TemporaryDirectory directory;
  EXPECT_EQ(tagsIn(directory.write("noise.txt", "no audio")), std::nullopt);
  EXPECT_EQ(tagsIn(directory.write("noise.flac", std::string(5000, '\xff'))), std::nullopt);
  const LogCapture log;
  EXPECT_EQ(readTags(-1, "song.mp3"), std::nullopt);
}

/// The library takes any bytes for an MPEG file when they are called so.
TEST(TagListing, OfNothingThatIsCalledAnMP3IsEmpty) {
  const TemporaryDirectory directory;
  EXPECT_EQ(tagsIn(directory.write("empty.mp3", "")), TagListing());
}

TEST(TagListing, DoesNotDependOnTheDirectoryAndNeedsNoWritableDescriptor) {
  const UniqueFd file = openFile(dataFile("vorbis_tagged.ogg"), O_RDONLY);
  const std::size_t before = countDescriptors();
  EXPECT_EQ(readTags(file.get(), "/nowhere/at.all/song.ogg"), kTags.at("vorbis_tagged.ogg"));
  ::lseek(file.get(), 0, SEEK_END);
  EXPECT_EQ(readTags(file.get(), "song.ogg"), kTags.at("vorbis_tagged.ogg"));
  EXPECT_TRUE(isOpen(file.get()));
  EXPECT_EQ(countDescriptors(), before);
}

TEST(TagListing, ReadsWithoutAChangeToTheFile) {
  const TemporaryDirectory directory;
  for (const std::string& name : audioFileNames()) {
    const std::string path = directory.copyOf(name);
    readTags(openFile(path).get(), path);
    EXPECT_EQ(readFile(path), readFile(dataFile(name))) << name;
  }
}

/// The library does not know the class, and would show five fields of a tag that can hold more.
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

struct Disc {
  TagListing tags;
  std::int64_t number;
  std::int64_t total;
};

TEST(DiscPosition, IsFoundInEverySpelling) {
  const Disc discs[] = {
      {{}, 0, 0},
      {{kTitle}, 0, 0},
      {{{"DISCNUMBER", "1"}}, 1, 0},
      {{{"DISCNUMBER", "1/2"}}, 1, 2},
      {{{"DISCNUMBER", "03/12"}}, 3, 12},
      {{{"DISCNUMBER", "0/2"}}, 0, 2},
      {{{"DISCNUMBER", "1"}, {"DISCTOTAL", "2"}}, 1, 2},
      {{{"DISCNUMBER", "1"}, {"TOTALDISCS", "3"}}, 1, 3},
      {{{"DISCTOTAL", "2"}}, 0, 2},
      {{{"TOTALDISCS", "3"}}, 0, 3},
      {{{"DISCNUMBER", "1/4"}, {"DISCTOTAL", "2"}, {"TOTALDISCS", "3"}}, 1, 4},
      {{{"DISCNUMBER", "1"}, {"DISCTOTAL", "2"}, {"TOTALDISCS", "3"}}, 1, 2},
      {{{"DISCNUMBER", "1"}, {"DISCTOTAL", "0"}, {"TOTALDISCS", "3"}}, 1, 3},
      {{{"DISCNUMBER", "1"}, {"DISCTOTAL", "x"}, {"TOTALDISCS", "3"}}, 1, 3},
      {{{"DISCNUMBER", "one"}, {"DISCTOTAL", "2"}}, 0, 2},
      {{{"DISCNUMBER", ""}}, 0, 0},
      {{{"DISCNUMBER", "1"}, {"DISCNUMBER", "2"}}, 1, 0},
      {{{"discnumber", "1"}, {"TRACKNUMBER", "7/9"}}, 0, 0},
  };
  for (const Disc& disc : discs) {
    const DiscPosition position = discPositionOf(disc.tags);
    EXPECT_EQ(position.number, disc.number) << testing::PrintToString(disc.tags);
    EXPECT_EQ(position.total, disc.total) << testing::PrintToString(disc.tags);
  }
}

TEST(DiscPosition, IsFoundInFiles) {
  for (const char* name : {"mp3_id3v23.mp3", "m4a_tagged.m4a"}) {
    const DiscPosition position = discPositionOf(*tagsIn(dataFile(name)));
    EXPECT_EQ(position.number, 1) << name;
    EXPECT_EQ(position.total, 2) << name;
  }
}

}  // namespace
}  // namespace tagwriter::test

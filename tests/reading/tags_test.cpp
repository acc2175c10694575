// The tags that are listed for every format.
#include "reading/tags.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <id3v2tag.h>
#include <textidentificationframe.h>
#include <unistd.h>

#include <map>

#include "dsf/dsf_file.h"
#include "reading/contents.h"
#include "tests/support/descriptors.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

std::optional<TagListing> tagsIn(const std::string& path) {
  Contents contents = readContents(openFile(path, O_RDONLY), path.c_str());
  return contents.isReadable ? std::optional(std::move(contents.tags)) : std::nullopt;
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
  // TagLib takes any bytes with this name for an MPEG file.
  EXPECT_EQ(tagsIn(directory.write("empty.mp3", "")), TagListing());
}

TEST(TagListing, LeavesNoDescriptorAndTheFileUnchanged) {
  const TemporaryDirectory directory;
  UniqueFd file = openFile(directory.copyOf("vorbis_tagged.ogg"));
  const std::size_t before = countDescriptors();
  ::lseek(file.get(), 0, SEEK_END);
  // The name decides the type, and is not opened.
  EXPECT_EQ(readContents(std::move(file), "/nowhere/at.all/song.ogg").tags,
            kTags.at("vorbis_tagged.ogg"));
  EXPECT_EQ(countDescriptors(), before - 1);
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

}  // namespace
}  // namespace tagwriter::test

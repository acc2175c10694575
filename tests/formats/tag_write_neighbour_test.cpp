// What a format-dispatched write leaves alone in a file, and what the tag library does on its own
// while it saves.
#include <apefile.h>
#include <apetag.h>
#include <flacfile.h>
#include <gtest/gtest.h>
#include <id3v1tag.h>
#include <id3v2tag.h>
#include <infotag.h>
#include <mpegfile.h>
#include <tpropertymap.h>
#include <wavfile.h>
#include <xiphcomment.h>

#include "tests/formats/tag_write_fixture.h"
#include "tests/formats/written_files.h"

namespace tagwriter::test {
namespace {

constexpr std::size_t kId3v1Size = 128;

std::string lastTag(const std::string& bytes) {
  return bytes.substr(bytes.size() - kId3v1Size);
}

/// The properties of a tag, one a line.
template <typename Tag>
std::string listing(const Tag* tag) {
  return tag ? tag->properties().toString().to8Bit(true) : "(no tag)";
}

/// The number of bytes of the ID3v2 tag at the start of `bytes` (ID3v2.4.0 structure, 3.1).
std::size_t id3v2Size(const std::string& bytes) {
  std::size_t size = 0;
  for (int i = 6; i < 10; ++i) size = size << 7 | static_cast<unsigned char>(bytes[i]);
  return size + 10;
}

class NeighbourTest : public TagWriteTest {
 protected:
  /// A written copy of tests/data/`name`.
  std::string written(const std::string& name) {
    const std::string path = directory_.copyOf(name);
    markFile(path);
    return path;
  }
  void markFile(const std::string& path) {
    RecordingEditors editors;
    editors.remove({Family::kId3v1});
    EXPECT_TRUE(write(path, editors)) << path;
    EXPECT_EQ(editors.ran.size(), 1u) << path;
  }
};

TEST_F(NeighbourTest, KeepsWhatIsInTheId3TagsOfAFlacFile) {
  const std::string path = written("flac_id3.flac");
  TagLib::FLAC::File file(path.c_str(), false);
  EXPECT_EQ(listing(file.ID3v2Tag()), "ARTIST=Zoë Müller\nTITLE=Rising Tone\n");
  EXPECT_EQ(listing(file.ID3v1Tag()), "ARTIST=Zoë Müller\nTITLE=Rising Tone\n");
  EXPECT_EQ(file.xiphComment()->fieldListMap()["COMPOSER"].toString(), kMark);
}

TEST_F(NeighbourTest, RendersTheId3v2TagOfAFlacFileAnewWithoutTheTextsLastZeros) {
  const std::string before = readFile(dataFile("flac_id3.flac"));
  const std::string after = readFile(written("flac_id3.flac"));
  using namespace std::string_literals;
  const std::string frames =
      "TIT2\0\0\0\x0c\0\0\x03Rising Tone"
      "TPE1\0\0\0\x0d\0\0\x03Zoë Müller"s;
  const std::size_t size = id3v2Size(before);
  EXPECT_EQ(after.substr(0, 10), before.substr(0, 10)) << "as long as it was";
  EXPECT_EQ(after.substr(10, size - 10), frames + std::string(size - 10 - frames.size(), '\0'));
  EXPECT_EQ(after.substr(size, 4), "fLaC");
  EXPECT_EQ(lastTag(after), lastTag(before));
}

TEST_F(NeighbourTest, FillsEmptyXiphFieldsOfAFlacFileFromItsId3Tags) {
  const std::string withId3 = readFile(dataFile("flac_id3.flac"));
  const std::string path =
      directory_.write("a.flac", withId3.substr(0, id3v2Size(withId3)) +
                                     readFile(dataFile("flac_plain.flac")) + lastTag(withId3));
  markFile(path);
  const TagLib::FLAC::File file(path.c_str(), false);
  EXPECT_EQ(file.properties().toString().to8Bit(true),
            "ARTIST=Zoë Müller\nCOMPOSER=" + std::string(kMark) + "\nTITLE=Rising Tone\n");
}

TEST_F(NeighbourTest, PutsNoId3TagsIntoAFlacFile) {
  for (const char* name : {"flac_plain.flac", "flac_comment.flac", "flac_pictures.flac"}) {
    const std::string path = written(name);
    const TagLib::FLAC::File file(path.c_str(), false);
    EXPECT_FALSE(file.hasID3v1Tag() || file.hasID3v2Tag()) << name;
  }
}

TEST_F(NeighbourTest, KeepsTheId3v1TagBehindAnApeTag) {
  const std::string path = written("ape_id3v1.ape");
  EXPECT_EQ(lastTag(readFile(path)), lastTag(readFile(dataFile("ape_id3v1.ape"))));
}

TEST_F(NeighbourTest, CutsALongCommentInTheId3v1TagBehindAnApeTag) {
  std::string bytes = readFile(dataFile("ape_id3v1.ape"));
  const std::string comment = "a comment of thirty characters";
  ASSERT_EQ(comment.size(), 30u);
  const std::size_t commentAt = bytes.size() - kId3v1Size + 97;
  bytes.replace(commentAt, comment.size(), comment);
  const std::string path = directory_.write("a.ape", bytes);
  markFile(path);
  // The library keeps the last two bytes for a track number, even when there is none.
  EXPECT_EQ(lastTag(readFile(path)), lastTag(bytes.replace(commentAt + 28, 2, 2, '\0')));
}

TEST_F(NeighbourTest, PutsNoId3v1TagBehindAnApeTag) {
  for (const char* name : {"ape_plain.ape", "ape_tagged.ape", "wavpack_plain.wv",
                           "wavpack_tagged.wv", "mpc_plain.mpc", "mpc_tagged.mpc"}) {
    EXPECT_NE(lastTag(readFile(written(name))).substr(0, 3), "TAG") << name;
  }
}

TEST_F(NeighbourTest, KeepsTheInfoListOfAWavFile) {
  for (const char* name : {"wav_info.wav", "wav_info_id3.wav"}) {
    const std::string path = written(name);
    const TagLib::RIFF::WAV::File file(path.c_str(), false);
    EXPECT_TRUE(file.hasInfoTag()) << name;
    EXPECT_EQ(listing(file.InfoTag()), "ARTIST=The Artist\nCOMMENT=a comment\nTITLE=Rising Tone\n")
        << name;
  }
}

TEST_F(NeighbourTest, MovesTheInfoListOfAWavFileToItsEnd) {
  const std::string before = readFile(dataFile("wav_info.wav"));
  const std::string after = readFile(written("wav_info.wav"));
  EXPECT_LT(before.find("LIST"), before.find("data"));
  EXPECT_LT(after.find("data"), after.find("ID3 "));
  EXPECT_LT(after.find("ID3 "), after.find("LIST"));
  const std::size_t listSize = 8 + 62;
  EXPECT_EQ(after.substr(after.size() - listSize), before.substr(before.find("LIST"), listSize));
}

TEST_F(NeighbourTest, PutsNoInfoListIntoAWavFile) {
  for (const char* name : {"wav_plain.wav", "wav_id3.wav"}) {
    const std::string path = written(name);
    const TagLib::RIFF::WAV::File file(path.c_str(), false);
    EXPECT_TRUE(file.hasID3v2Tag()) << name;
    EXPECT_FALSE(file.hasInfoTag()) << name;
  }
}

TEST_F(NeighbourTest, KeepsTheApeTagOfAnMP3) {
  const std::string path = directory_.copyOf("mp3_id3v2_ape.mp3");
  const std::string before = listing(TagLib::MPEG::File(path.c_str(), false).APETag());
  ASSERT_EQ(before, "ARTIST=Zoë Müller\nCATALOG=CAT 001\nMOOD=calm, bright\nTITLE=Rising Tone\n");
  markFile(path);
  EXPECT_EQ(listing(TagLib::MPEG::File(path.c_str(), false).APETag()), before);
}

}  // namespace
}  // namespace tagwriter::test

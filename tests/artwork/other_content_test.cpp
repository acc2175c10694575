// What artwork must not touch: everything in the tags that is no picture.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "tests/artwork/artwork_requests.h"
#include "tests/artwork/stored_pictures.h"
#include "tests/artwork/tag_dump.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

/// The class that reads each file of the test data, for all that take pictures under their names.
const std::map<std::string, Kind> kFiles = {{"mp3_plain.mp3", Kind::kMPEG},
                                            {"mp3_id3v23.mp3", Kind::kMPEG},
                                            {"mp3_id3v24_id3v1.mp3", Kind::kMPEG},
                                            {"mp3_id3v2_ape.mp3", Kind::kMPEG},
                                            {"mp3_id3v1.mp3", Kind::kMPEG},
                                            {"mp3_id3v22.mp3", Kind::kMPEG},
                                            {"m4a_plain.m4a", Kind::kMP4},
                                            {"m4a_tagged.m4a", Kind::kMP4},
                                            {"m4a_mdat_first.m4a", Kind::kMP4},
                                            {"flac_plain.flac", Kind::kFLAC},
                                            {"flac_comment.flac", Kind::kFLAC},
                                            {"flac_pictures.flac", Kind::kFLAC},
                                            {"flac_id3.flac", Kind::kFLAC},
                                            {"vorbis_plain.ogg", Kind::kVorbis},
                                            {"vorbis_tagged.ogg", Kind::kVorbis},
                                            {"vorbis.oga", Kind::kVorbis},
                                            {"opus_plain.opus", Kind::kOpus},
                                            {"opus_tagged.opus", Kind::kOpus},
                                            {"wma_plain.wma", Kind::kASF},
                                            {"wma_tagged.wma", Kind::kASF},
                                            {"aiff_plain.aiff", Kind::kAIFF},
                                            {"aiff_id3.aif", Kind::kAIFF},
                                            {"wav_plain.wav", Kind::kWAV},
                                            {"wav_info.wav", Kind::kWAV},
                                            {"wav_id3.wav", Kind::kWAV},
                                            {"wav_info_id3.wav", Kind::kWAV},
                                            {"ape_plain.ape", Kind::kAPE},
                                            {"ape_tagged.ape", Kind::kAPE},
                                            {"ape_id3v1.ape", Kind::kAPE},
                                            {"wavpack_plain.wv", Kind::kWavPack},
                                            {"wavpack_tagged.wv", Kind::kWavPack},
                                            {"mpc_plain.mpc", Kind::kMPC},
                                            {"mpc_tagged.mpc", Kind::kMPC},
                                            {"dsf_plain.dsf", Kind::kDSF},
                                            {"dsf_tagged.dsf", Kind::kDSF},
                                            {"dsf_pointer_at_end.dsf", Kind::kDSF},
                                            {"dsf_pointer_beyond_end.dsf", Kind::kDSF}};

/// What artwork finds when it comes. An ID3v1 tag is the exception: the library copies what is only
/// in it whenever it saves the file.
std::vector<std::string> dumpToExpect(Kind kind, const std::string& path) {
  if (kind == Kind::kMPEG) {
    TagLib::MPEG::File file(path.c_str(), false);
    if (file.hasID3v1Tag()) {
      file.ID3v2Tag(true);
      EXPECT_TRUE(file.save());
    }
  }
  return tagDump(kind, path);
}

/// Writes, replaces and clears a picture in the file at `path`.
void expectUnchanged(Kind kind, const std::string& path) {
  const auto before = dumpToExpect(kind, path);
  EXPECT_TRUE(write(path, imageOf(70000), 1, true));
  EXPECT_EQ(tagDump(kind, path), before) << "written";
  EXPECT_TRUE(write(path, "x", 1, true));
  EXPECT_EQ(tagDump(kind, path), before) << "replaced";
  clear(path);
  EXPECT_EQ(tagDump(kind, path), before) << "cleared";
  EXPECT_EQ(picturesIn(kind, path), Pictures());
}

class OtherContent : public testing::TestWithParam<std::pair<const std::string, Kind>> {};

TEST_P(OtherContent, StaysAsItIs) {
  const TemporaryDirectory directory;
  expectUnchanged(GetParam().second, directory.copyOf(GetParam().first));
}

TEST(OtherContent, OfAnOggFLACFileStaysAsItIs) {
  const TemporaryDirectory directory;
  const std::string path = plainCopy(directory, formatNamed("oga_flac"));
  EXPECT_EQ(tagDump(Kind::kOggFLAC, path).size(), 2U);
  expectUnchanged(Kind::kOggFLAC, path);
}

/// The comment is the last metadata block of this file, and has to stay marked as such: without the
/// mark no reader knows where the audio begins.
TEST(OtherContent, OfAnOggFLACFileWithoutPaddingStaysAsItIs) {
  const TemporaryDirectory directory;
  expectUnchanged(Kind::kOggFLAC, directory.copyOf("flac.oga"));
}

INSTANTIATE_TEST_SUITE_P(Files, OtherContent, testing::ValuesIn(kFiles), [](const auto& info) {
  std::string name = info.param.first;
  std::replace(name.begin(), name.end(), '.', '_');
  return name;
});

TEST(OtherContent, IsLookedForInEveryFile) {
  std::vector<std::string> others;
  for (const std::string& name : audioFileNames()) {
    if (!kFiles.count(name)) others.push_back(name);
  }
  EXPECT_EQ(others, (std::vector<std::string>{"ac3.ac3", "au.au", "flac.oga", "oggflac_named.ogg",
                                              "opus.oga", "speex.oga", "vgm.vgm"}))
      << "a file that takes no picture, one that has a test of its own, or a new one";
}

bool hasID3v1(const std::string& path) {
  return TagLib::MPEG::File(path.c_str(), false).hasID3v1Tag();
}

TEST(MPEGArtwork, NeverMakesAnID3v1Tag) {
  const TemporaryDirectory directory;
  for (const char* name :
       {"mp3_plain.mp3", "mp3_id3v22.mp3", "mp3_id3v23.mp3", "mp3_id3v2_ape.mp3"}) {
    SCOPED_TRACE(name);
    const std::string path = directory.copyOf(name);
    EXPECT_TRUE(write(path, imageOf(100), 1, true));
    EXPECT_FALSE(hasID3v1(path));
    EXPECT_TRUE(clear(path));
    EXPECT_FALSE(hasID3v1(path));
  }
}

TEST(MPEGArtwork, KeepsAnID3v1TagThatIsThere) {
  const TemporaryDirectory directory;
  for (const char* name : {"mp3_id3v1.mp3", "mp3_id3v24_id3v1.mp3"}) {
    SCOPED_TRACE(name);
    const std::string path = directory.copyOf(name);
    const std::string tag = readFile(path).substr(readFile(path).size() - 128);
    EXPECT_TRUE(write(path, imageOf(100), 1, true));
    EXPECT_TRUE(clear(path));
    EXPECT_TRUE(readFile(path).ends_with(tag));
  }
}

}  // namespace
}  // namespace tagwriter::test

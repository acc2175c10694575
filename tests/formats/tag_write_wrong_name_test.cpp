// The format-dispatched write on files that are not what their name says: the name decides.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/formats/tag_write_fixture.h"

namespace tagwriter::test {
namespace {

using enum Family;

/// One file of each container, and two that are none.
struct Content {
  const char* name;
  std::string bytes;
};

std::vector<Content> contents() {
  std::vector<Content> all;
  for (const char* name :
       {"mp3_plain.mp3", "m4a_tagged.m4a", "flac_plain.flac", "vorbis_tagged.ogg", "flac.oga",
        "opus_tagged.opus", "speex.oga", "wma_tagged.wma", "aiff_plain.aiff", "wav_info.wav",
        "ape_plain.ape", "wavpack_plain.wv", "mpc_plain.mpc", "dsf_plain.dsf", "ac3.ac3", "au.au",
        "vgm.vgm"}) {
    all.push_back({name, readFile(dataFile(name))});
  }
  all.push_back({"noise", "this is no audio at all"});
  all.push_back({"nothing", ""});
  return all;
}

class WrongNameTest : public TagWriteTest {
 protected:
  struct Result {
    bool written;
    std::vector<Family> ran;
    std::string bytes;
  };

  /// Writes into a file of these bytes that is called "a" and `extension`.
  Result writeAs(const std::string& extension, const Content& content) {
    const std::string path = directory_.write("a" + extension, content.bytes);
    const RecordingEditors editors;
    const bool written = write(path, editors);
    EXPECT_EQ(log_.text(), "");
    return {written, editors.ran, readFile(path)};
  }

  /// Calls `check` with the result for every content but `own`, which is what the extension says.
  template <typename Check>
  void forEachOther(const std::string& extension, const std::vector<std::string>& own,
                    Check check) {
    std::size_t checked = 0;
    for (const Content& content : contents()) {
      if (std::find(own.begin(), own.end(), content.name) != own.end()) continue;
      SCOPED_TRACE(std::string(content.name) + " as " + extension);
      check(content, writeAs(extension, content));
      ++checked;
    }
    EXPECT_EQ(checked, contents().size() - own.size());
  }
};

TEST_F(WrongNameTest, HasNoTagToEdit) {
  const auto refused = [](const Content& content, const Result& result) {
    EXPECT_FALSE(result.written);
    EXPECT_TRUE(result.ran.empty());
    EXPECT_EQ(result.bytes, content.bytes);
  };
  for (const char* extension : {".m4a", ".mp4", ".m4b", ".m4v", ".m4p"}) {
    forEachOther(extension, {"m4a_tagged.m4a"}, refused);
  }
  forEachOther(".ogg", {"vorbis_tagged.ogg"}, refused);
  forEachOther(".opus", {"opus_tagged.opus"}, refused);
  forEachOther(".wma", {"wma_tagged.wma"}, refused);
  forEachOther(".dsf", {"dsf_plain.dsf"}, refused);
}

TEST_F(WrongNameTest, IsAnOgaFileOnlyIfItIsVorbisOrOggFlac) {
  forEachOther(".oga", {"vorbis_tagged.ogg", "flac.oga"},
               [](const Content& content, const Result& result) {
                 EXPECT_FALSE(result.written);
                 EXPECT_TRUE(result.ran.empty());
                 EXPECT_EQ(result.bytes, content.bytes);
               });
  const Content vorbis = {"vorbis_tagged.ogg", readFile(dataFile("vorbis_tagged.ogg"))};
  const Result result = writeAs(".oga", vorbis);
  EXPECT_TRUE(result.written);
  EXPECT_EQ(result.ran, std::vector{kXiph});
  EXPECT_NE(result.bytes, vorbis.bytes);
}

TEST_F(WrongNameTest, IsNotSavedAsFlac) {
  forEachOther(".flac", {"flac_plain.flac"}, [](const Content& content, const Result& result) {
    EXPECT_FALSE(result.written);
    EXPECT_EQ(result.ran, std::vector{kXiph}) << "there is an empty comment to edit";
    EXPECT_EQ(result.bytes, content.bytes);
  });
}

TEST_F(WrongNameTest, IsUntouchedAsWavOrAiffAlthoughTheLibraryReportsASave) {
  const auto reportedOnly = [](const Content& content, const Result& result) {
    EXPECT_TRUE(result.written);
    EXPECT_EQ(result.ran, std::vector{kId3v2});
    EXPECT_EQ(result.bytes, content.bytes);
  };
  forEachOther(".wav", {"wav_info.wav"}, reportedOnly);
  forEachOther(".aif", {"aiff_plain.aiff"}, reportedOnly);
  forEachOther(".aiff", {"aiff_plain.aiff"}, reportedOnly);
}

TEST_F(WrongNameTest, GetsAnApeTagAtItsEnd) {
  const auto tagged = [](const Content& content, const Result& result) {
    EXPECT_TRUE(result.written);
    EXPECT_EQ(result.ran, std::vector{kApe});
    EXPECT_TRUE(result.bytes.starts_with(content.bytes + "APETAGEX"));
    EXPECT_NE(result.bytes.find(kMark, content.bytes.size()), std::string::npos);
  };
  forEachOther(".ape", {}, tagged);
  forEachOther(".wv", {}, tagged);
  forEachOther(".mpc", {}, tagged);
}

TEST_F(WrongNameTest, GetsAnId3v2TagAtItsStartAsMpegOrUnderAnUnknownName) {
  const auto tagged = [](const Content& content, const Result& result) {
    EXPECT_TRUE(result.written);
    EXPECT_EQ(result.ran, std::vector{kId3v2});
    EXPECT_TRUE(result.bytes.starts_with("ID3"));
    EXPECT_TRUE(result.bytes.ends_with(content.bytes));
    EXPECT_LT(result.bytes.find(kMark), result.bytes.size() - content.bytes.size());
  };
  for (const char* extension : {".mp3", ".xyz", ".", ""}) forEachOther(extension, {}, tagged);
}

}  // namespace
}  // namespace tagwriter::test

// Single cases of a clear that the matrix does not show, on real files.
#include <fcntl.h>
#include <flacpicture.h>
#include <gtest/gtest.h>
#include <tpropertymap.h>
#include <xiphcomment.h>

#include "artwork/clear_artwork.h"
#include "protocol/value_dictionary.h"
#include "tests/artwork/artwork_requests.h"
#include "tests/artwork/stored_pictures.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

class ArtworkClear : public testing::Test {
 protected:
  /// Clearing a copy gives false and does not even write to it.
  void expectUntouched(const std::string& name, const std::string& as = "") {
    const std::string path = directory_.copyOf(name, as);
    const WriteWatch watch(path);
    EXPECT_FALSE(clear(path)) << name;
    EXPECT_FALSE(watch.written()) << name;
    EXPECT_EQ(readFile(path), readFile(dataFile(name))) << name;
  }

  TemporaryDirectory directory_;
};

TEST_F(ArtworkClear, LeavesAFLACFileWithoutPicturesAlone) {
  for (const char* name : {"flac_plain.flac", "flac_comment.flac", "flac_id3.flac"}) {
    expectUntouched(name);
  }
}

TEST_F(ArtworkClear, LeavesAnMP3WithoutAnID3v2TagAlone) {
  expectUntouched("mp3_plain.mp3");
  expectUntouched("mp3_id3v1.mp3");
}

/// A tag that is not in the file is not cleared, and not made.
TEST_F(ArtworkClear, LeavesFilesWithoutATagAlone) {
  for (const char* name : {"ape_plain.ape", "wavpack_plain.wv"}) expectUntouched(name);
}

TEST_F(ArtworkClear, SavesAnM4AWithoutACover) {
  const std::string path = directory_.copyOf("m4a_mdat_first.m4a");
  const WriteWatch watch(path);
  EXPECT_TRUE(clear(path));
  EXPECT_TRUE(watch.written());
  EXPECT_EQ(readFile(path).find("covr"), std::string::npos);
  TagLib::MP4::File file(path.c_str(), false);
  EXPECT_EQ(file.tag()->properties(),
            TagLib::MP4::File(dataFile("m4a_mdat_first.m4a").c_str(), false).tag()->properties());
}

/// What stays of the covers is an empty box, which the library does not show when it reads.
TEST_F(ArtworkClear, LeavesAnEmptyBoxInAnM4AWithTwoCovers) {
  const std::string path = directory_.copyOf("m4a_tagged.m4a");
  ASSERT_EQ(picturesIn(Kind::kMP4, path).size(), 2U);
  EXPECT_TRUE(clear(path));
  EXPECT_EQ(picturesIn(Kind::kMP4, path), Pictures());
  const std::string bytes = readFile(path);
  const std::size_t box = bytes.find("covr");
  ASSERT_NE(box, std::string::npos);
  EXPECT_EQ(bytes.substr(box - 4, 8), std::string("\0\0\0\x08"
                                                  "covr",
                                                  8));
  EXPECT_EQ(bytes.find("covr", box + 1), std::string::npos);
  // Once more: nothing is left to clear.
  EXPECT_TRUE(clear(path));
  EXPECT_EQ(picturesIn(Kind::kMP4, path), Pictures());
}

/// The library makes a tag of it, which it does not write as long as it is empty.
TEST_F(ArtworkClear, SavesAMusepackFileWithoutATag) {
  const std::string path = directory_.copyOf("mpc_plain.mpc");
  EXPECT_TRUE(clear(path));
  EXPECT_EQ(readFile(path), readFile(dataFile("mpc_plain.mpc")));
  const UniqueFd readOnly = openFile(path, O_RDONLY);
  EXPECT_FALSE(clearArtwork(duplicateFd(readOnly.get()), path.c_str(), ValueDictionary()))
      << "the result is the save's";
}

TEST_F(ArtworkClear, IsRefusedForAnOGAThatIsNeitherFLACNorVorbis) {
  expectUntouched("opus.oga");
  expectUntouched("speex.oga");
}

TEST_F(ArtworkClear, TakesEveryOggForVorbis) {
  expectUntouched("oggflac_named.ogg");
}

TEST_F(ArtworkClear, LeavesPicturesInTheCommentOfAFLACFileAlone) {
  const std::string path = directory_.copyOf("flac_pictures.flac");
  {
    TagLib::FLAC::File file(path.c_str(), false);
    auto* picture = new TagLib::FLAC::Picture;
    picture->setData("in the comment");
    file.xiphComment()->addPicture(picture);
    ASSERT_TRUE(file.save());
  }
  ASSERT_EQ(picturesIn(Kind::kFLAC, path).size(), 3U);
  EXPECT_TRUE(clear(path));
  const Pictures left = picturesIn(Kind::kFLAC, path);
  ASSERT_EQ(left.size(), 1U);
  EXPECT_EQ(left[0].bytes, "in the comment");
  const WriteWatch watch(path);
  EXPECT_FALSE(clear(path)) << "no picture block is left";
  EXPECT_FALSE(watch.written());
}

TEST_F(ArtworkClear, FindsTheFrontCoverOfAnAPETagInAnySpelling) {
  for (const char* key : {"Cover Art (Front)", "Cover Art (front)", "COVER ART (FRONT)"}) {
    const std::string path = directory_.copyOf("ape_plain.ape");
    {
      TagLib::APE::File file(path.c_str(), false);
      file.APETag(true)->setItem(key,
                                 TagLib::APE::Item(key, TagLib::ByteVector("x.png\0y", 7), true));
      ASSERT_TRUE(file.save());
    }
    ASSERT_NE(readFile(path).find(key), std::string::npos);
    EXPECT_TRUE(clear(path));
    EXPECT_EQ(picturesIn(Kind::kAPE, path), Pictures()) << key;
  }
}

/// The frame of ID3v2.2 is called PIC in the file and APIC once the library has read it.
TEST_F(ArtworkClear, ClearsAnID3v22Tag) {
  const std::string path = directory_.copyOf("mp3_id3v22.mp3");
  ASSERT_EQ(picturesIn(Kind::kMPEG, path).size(), 1U);
  EXPECT_TRUE(clear(path));
  EXPECT_EQ(picturesIn(Kind::kMPEG, path), Pictures());
}

/// Pictures in the APE tag of an MP3 are not looked for.
TEST_F(ArtworkClear, LeavesTheAPETagOfAnMP3Alone) {
  const std::string path = directory_.copyOf("mp3_id3v2_ape.mp3");
  {
    TagLib::MPEG::File file(path.c_str(), false);
    file.APETag(true)->setItem("Cover Art (Front)",
                               TagLib::APE::Item("Cover Art (Front)", "x", true));
    ASSERT_TRUE(file.save(TagLib::MPEG::File::APE, TagLib::MPEG::File::StripNone));
  }
  EXPECT_TRUE(clear(path));
  TagLib::MPEG::File file(path.c_str(), false);
  EXPECT_TRUE(file.APETag(false)->itemListMap().contains("COVER ART (FRONT)"));
}

TEST_F(ArtworkClear, TakesAFileWithoutAPathForAnMP3) {
  const std::string path = directory_.copyOf("mp3_id3v23.mp3");
  ASSERT_EQ(picturesIn(Kind::kMPEG, path).size(), 2U);
  EXPECT_TRUE(clearArtwork(openFile(path), nullptr, ValueDictionary()));
  EXPECT_EQ(picturesIn(Kind::kMPEG, path), Pictures());
}

}  // namespace
}  // namespace tagwriter::test

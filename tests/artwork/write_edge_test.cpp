// Single cases of a write that the matrix does not show, on real files.
#include <fcntl.h>
#include <flacpicture.h>
#include <gtest/gtest.h>
#include <xiphcomment.h>

#include "artwork/write_artwork.h"
#include "protocol/keys.h"
#include "protocol/value_dictionary.h"
#include "tests/artwork/artwork_requests.h"
#include "tests/artwork/stored_pictures.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

constexpr bool kKeep = false;
constexpr bool kReplace = true;

class ArtworkWrite : public testing::Test {
 protected:
  TemporaryDirectory directory_;
  const std::string image_ = imageOf(2000);
};

TEST_F(ArtworkWrite, IsRefusedForAnMP3ThatHasABackCover) {
  const std::string path = directory_.copyOf("mp3_plain.mp3");
  ASSERT_EQ(addOldPictures(Kind::kMPEG, path, 1)[0].label.substr(0, 7), "APIC 4 ");
  const std::string before = readFile(path);
  const WriteWatch watch(path);
  EXPECT_FALSE(write(path, image_, 1, kKeep));
  EXPECT_EQ(readFile(path), before);
  EXPECT_FALSE(watch.written());
}

TEST_F(ArtworkWrite, PutsOneFrontCoverInThePlaceOfThreePicturesOfAnMP3) {
  const std::string path = directory_.copyOf("mp3_plain.mp3");
  ASSERT_EQ(addOldPictures(Kind::kMPEG, path, 3).size(), 3U);
  EXPECT_TRUE(write(path, image_, 2, kReplace));
  EXPECT_EQ(picturesIn(Kind::kMPEG, path), Pictures{frontCover(Family::kID3v2, 2, image_)});
}

TEST_F(ArtworkWrite, SavesAVorbisFileWhosePictureIsKept) {
  const std::string path = directory_.copyOf("vorbis_tagged.ogg");
  const Pictures old = picturesIn(Kind::kVorbis, path);
  ASSERT_EQ(old.size(), 1U);
  const WriteWatch watch(path);
  EXPECT_TRUE(write(path, image_, 1, kKeep));
  EXPECT_TRUE(watch.written());
  EXPECT_EQ(picturesIn(Kind::kVorbis, path), old);
}

/// What a kept picture's result says is whether the file could be saved.
TEST_F(ArtworkWrite, FailsForAVorbisFileThatCannotBeSavedThoughThePictureIsKept) {
  const std::string path = directory_.copyOf("vorbis_tagged.ogg");
  const int fd = openFile(path, O_RDONLY).release();
  EXPECT_FALSE(writeArtwork(UniqueFd(fd), path.c_str(), std::as_bytes(std::span(image_)), 1,
                            ValueDictionary()));
}

TEST_F(ArtworkWrite, StoresATIFFInAnM4AWithoutAFormat) {
  const std::string path = directory_.copyOf("m4a_plain.m4a");
  EXPECT_TRUE(write(path, image_, 3, kKeep));
  EXPECT_EQ(picturesIn(Kind::kMP4, path), (Pictures{{"covr 0", image_}}));
}

TEST_F(ArtworkWrite, StoresATIFFInAnMP3AsOne) {
  const std::string path = directory_.copyOf("mp3_plain.mp3");
  EXPECT_TRUE(write(path, image_, 3, kKeep));
  EXPECT_EQ(picturesIn(Kind::kMPEG, path),
            (Pictures{{"APIC 3 mime=image/tiff description= encoding 0", image_}}));
}

TEST_F(ArtworkWrite, StoresAnUnknownTypeInAnMP3WithoutAMimeType) {
  const std::string path = directory_.copyOf("mp3_plain.mp3");
  EXPECT_TRUE(write(path, image_, 9, kKeep));
  EXPECT_EQ(picturesIn(Kind::kMPEG, path),
            (Pictures{{"APIC 3 mime= description= encoding 0", image_}}));
}

TEST_F(ArtworkWrite, StoresAnUnknownTypeInAnAPEFileUnderTheNameOfAJPEG) {
  const std::string path = directory_.copyOf("ape_plain.ape");
  EXPECT_TRUE(write(path, image_, 9, kKeep));
  EXPECT_EQ(picturesIn(Kind::kAPE, path),
            (Pictures{{"Cover Art (Front) binary",
                       std::string("Cover Art (Front).jpg\0", 22) + image_}}));
}

/// The bytes of the image are the whole value, in the list of small attributes and in the library
/// of large ones alike.
TEST_F(ArtworkWrite, StoresTheBytesOfTheImageAloneInAWMA) {
  for (const std::size_t size : {100U, 65535U, 65536U, 300000U}) {
    const std::string path = directory_.copyOf("wma_tagged.wma");
    const std::string image = imageOf(size);
    EXPECT_TRUE(write(path, image, 2, kReplace));
    EXPECT_EQ(picturesIn(Kind::kASF, path), (Pictures{{"WM/Picture type 1", image}}));
    // The name in UTF-16 with its terminator, then type, length (in the library of large attributes
    // in front of the name) and value.
    const std::string bytes = readFile(path);
    const std::size_t value = bytes.find(image);
    ASSERT_NE(value, std::string::npos);
    EXPECT_EQ(bytes.find("image/jpeg"), std::string::npos);
    const std::string name("P\0i\0c\0t\0u\0r\0e\0\0\0", 16);
    const std::size_t between = size <= 65535 ? 4 : 0;
    EXPECT_EQ(bytes.substr(value - between - name.size(), name.size()), name);
  }
}

TEST_F(ArtworkWrite, IsRefusedForAnOGAThatIsNeitherFLACNorVorbis) {
  for (const char* name : {"opus.oga", "speex.oga"}) {
    const std::string path = directory_.copyOf(name);
    const WriteWatch watch(path);
    EXPECT_FALSE(write(path, image_, 1, kReplace));
    EXPECT_FALSE(watch.written());
    EXPECT_EQ(readFile(path), readFile(dataFile(name)));
  }
}

TEST_F(ArtworkWrite, TakesEveryOggForVorbis) {
  const std::string path = directory_.copyOf("oggflac_named.ogg");
  EXPECT_FALSE(write(path, image_, 1, kReplace));
  EXPECT_EQ(readFile(path), readFile(dataFile("oggflac_named.ogg")));
}

TEST_F(ArtworkWrite, GoesByTheExtensionInAnyCase) {
  const std::string path = directory_.copyOf("flac_plain.flac", "song.FlaC");
  EXPECT_TRUE(write(path, image_, 1, kKeep));
  EXPECT_EQ(picturesIn(Kind::kFLAC, path), Pictures{frontCover(Family::kFLAC, 1, image_)});
  for (const char* name : {"song.xyz", "song", "song."}) {
    const std::string mp3 = directory_.copyOf("mp3_plain.mp3", name);
    EXPECT_TRUE(write(mp3, image_, 1, kKeep));
    EXPECT_EQ(picturesIn(Kind::kMPEG, mp3), Pictures{frontCover(Family::kID3v2, 1, image_)});
  }
}

/// A FLAC file's own blocks are what is looked at and replaced; its comment's pictures are not.
TEST_F(ArtworkWrite, LeavesPicturesInTheCommentOfAFLACFileAlone) {
  const std::string path = directory_.copyOf("flac_comment.flac");
  {
    TagLib::FLAC::File file(path.c_str(), false);
    auto* picture = new TagLib::FLAC::Picture;
    picture->setData("in the comment");
    file.xiphComment()->addPicture(picture);
    ASSERT_TRUE(file.save());
  }
  const Picture inComment = picturesIn(Kind::kFLAC, path).at(0);
  for (const bool replace : {kKeep, kReplace}) {
    EXPECT_TRUE(write(path, image_, 1, replace));
    EXPECT_EQ(picturesIn(Kind::kFLAC, path),
              (Pictures{frontCover(Family::kFLAC, 1, image_), inComment}));
  }
}

TEST_F(ArtworkWrite, ReadsWhetherToReplaceAsABoolean) {
  const std::string path = directory_.copyOf("mp3_id3v23.mp3");
  const std::string before = readFile(path);
  ValueDictionary request;
  const ValueDictionary::Value noBooleans[] = {std::int64_t{1}, "true", 1.0, std::uint64_t{1}};
  for (const auto& value : noBooleans) {
    request.set(key::kReplaceArtwork, value);
    const int fd = openFile(path).release();
    EXPECT_FALSE(
        writeArtwork(UniqueFd(fd), path.c_str(), std::as_bytes(std::span(image_)), 1, request));
    EXPECT_EQ(readFile(path), before);
  }
}

}  // namespace
}  // namespace tagwriter::test

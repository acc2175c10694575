// Every format: pictures removed where there are three, one or none.
#include <gtest/gtest.h>

#include <optional>

#include "tests/artwork/artwork_requests.h"
#include "tests/artwork/stored_pictures.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

class ArtworkClearMatrix : public testing::TestWithParam<Format> {
 protected:
  Kind kind() const { return GetParam().kind; }
  Family family() const { return familyOf(kind()); }

  /// Pictures are gone; of APE's, which have a key for each picture type, only the front cover.
  void expectCleared(const std::string& path, int count) const {
    Pictures expected;
    if (family() == Family::kAPE) {
      for (const Picture& old : oldPictures(family(), count)) {
        if (old.label != "Cover Art (Front) binary") expected.push_back(old);
      }
    }
    EXPECT_EQ(picturesIn(kind(), path), expected);
  }

  TemporaryDirectory directory_;
  const std::string path_ = plainCopy(directory_, GetParam());
};

TEST_P(ArtworkClearMatrix, ClearsOne) {
  addOldPictures(kind(), path_, 1);
  EXPECT_TRUE(clear(path_));
  expectCleared(path_, 1);
}

TEST_P(ArtworkClearMatrix, ClearsThree) {
  addOldPictures(kind(), path_, 3);
  EXPECT_TRUE(clear(path_));
  expectCleared(path_, 3);
}

TEST_P(ArtworkClearMatrix, ClearsWhatWasWritten) {
  for (const std::int64_t type : {0, 1, 3}) {
    ASSERT_TRUE(write(path_, imageOf(5000), type, true));
    EXPECT_TRUE(clear(path_));
    EXPECT_EQ(picturesIn(kind(), path_), Pictures());
  }
}

TEST_P(ArtworkClearMatrix, ClearsWhatOtherSoftwareHasStored) {
  const std::string path = GetParam().picture ? directory_.copyOf(GetParam().picture, GetParam().as)
                                              : plainCopy(directory_, GetParam());
  if (!GetParam().picture) addOldPictures(kind(), path, 1);
  ASSERT_NE(picturesIn(kind(), path), Pictures());
  EXPECT_TRUE(clear(path));
  EXPECT_EQ(picturesIn(kind(), path), Pictures());
}

/// The result where there is no picture. A tag that is not in the file is not made for it, except
/// in Musepack files; formats that always have a tag are saved.
TEST_P(ArtworkClearMatrix, ClearsNone) {
  const std::string name = GetParam().name;
  const bool tagInFile = name == "m4a" || name == "m4p" || name == "ogg" || name == "wma" ||
                         name == "aiff" || name == "wav" || name == "dsf" || name == "oga_vorbis" ||
                         name == "oga_flac" || name == "opus";
  const bool saved = tagInFile || name == "mpc";
  const std::string before = readFile(path_);
  const WriteWatch watch(path_);
  EXPECT_EQ(clear(path_), saved);
  EXPECT_EQ(picturesIn(kind(), path_), Pictures());
  EXPECT_TRUE(saved || (readFile(path_) == before && !watch.written()));
}

/// In a tag that has no picture there is nothing to lose, and the file is saved; only FLAC tells
/// the difference.
TEST_P(ArtworkClearMatrix, ClearsNoneFromATag) {
  withLibraryFile(kind(), path_, [](auto& file) {
    file.tag()->setTitle("Title");
    EXPECT_TRUE(file.save());
  });
  const WriteWatch watch(path_);
  EXPECT_EQ(clear(path_), kind() != Kind::kFLAC);
  EXPECT_EQ(watch.written(), kind() != Kind::kFLAC);
  withLibraryFile(kind(), path_, [](auto& file) { EXPECT_EQ(file.tag()->title(), "Title"); });
  EXPECT_EQ(picturesIn(kind(), path_), Pictures());
}

TEST_P(ArtworkClearMatrix, LetsACoverInAfterwards) {
  addOldPictures(kind(), path_, 1);
  ASSERT_TRUE(clear(path_));
  EXPECT_TRUE(write(path_, imageOf(500), 1, false));
  EXPECT_EQ(picturesIn(kind(), path_), Pictures{frontCover(family(), 1, imageOf(500))});
}

INSTANTIATE_TEST_SUITE_P(Formats, ArtworkClearMatrix, testing::ValuesIn(kFormats),
                         [](const testing::TestParamInfo<Format>& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
}  // namespace tagwriter::test

// Every format: an image written where there is none, over one, over three, or kept out.
#include <gtest/gtest.h>

#include <set>

#include "tests/artwork/artwork_requests.h"
#include "tests/artwork/stored_pictures.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

constexpr bool kKeep = false;
constexpr bool kReplace = true;
constexpr std::int64_t kTypes[] = {0, 1, 2, 3, 4, 5, 6, 9, -1, std::int64_t{1} << 40};

class ArtworkMatrix : public testing::TestWithParam<Format> {
 protected:
  Kind kind() const { return GetParam().kind; }
  Family family() const { return familyOf(kind()); }
  /// A copy with `count` pictures in it.
  std::string fileWith(int count) const {
    const std::string path = plainCopy(directory_, GetParam());
    EXPECT_EQ(picturesIn(kind(), path), Pictures());
    if (count) addOldPictures(kind(), path, count);
    return path;
  }

  TemporaryDirectory directory_;
  const std::string image_ = imageOf(300);
};

TEST_P(ArtworkMatrix, WritesOnNone) {
  for (const bool replace : {kKeep, kReplace}) {
    for (const std::int64_t type : kTypes) {
      SCOPED_TRACE(type);
      const std::string path = fileWith(0);
      EXPECT_TRUE(write(path, image_, type, replace));
      EXPECT_EQ(picturesIn(kind(), path), Pictures{frontCover(family(), type, image_)});
    }
  }
}

TEST_P(ArtworkMatrix, WritesOverOne) {
  for (const std::int64_t type : kTypes) {
    SCOPED_TRACE(type);
    const std::string path = fileWith(1);
    EXPECT_TRUE(write(path, image_, type, kReplace));
    EXPECT_EQ(picturesIn(kind(), path), Pictures{frontCover(family(), type, image_)});
  }
}

TEST_P(ArtworkMatrix, WritesOverItself) {
  const std::string path = fileWith(0);
  ASSERT_TRUE(write(path, imageOf(70000), 2, kReplace));
  for (const std::size_t size : {300U, 80000U, 1U}) {
    EXPECT_TRUE(write(path, imageOf(size), 1, kReplace));
    EXPECT_EQ(picturesIn(kind(), path), Pictures{frontCover(family(), 1, imageOf(size))});
  }
}

/// The families differ in what becomes of a picture that is to be kept: most refuse the new one
/// without saving, the Xiph family saves all the same, and in APE a picture that the library has
/// read is never found under the spelling that is asked for, so the new one goes in.
TEST_P(ArtworkMatrix, KeepsOne) {
  for (const std::int64_t type : {std::int64_t{0}, std::int64_t{1}, std::int64_t{9}}) {
    SCOPED_TRACE(type);
    const std::string path = fileWith(1);
    const std::string before = readFile(path);
    const WriteWatch watch(path);
    switch (family()) {
      case Family::kAPE:
        EXPECT_TRUE(write(path, image_, type, kKeep));
        EXPECT_EQ(picturesIn(kind(), path), Pictures{frontCover(family(), type, image_)});
        break;
      case Family::kXiph:
        EXPECT_TRUE(write(path, image_, type, kKeep));
        EXPECT_TRUE(watch.written());
        EXPECT_EQ(picturesIn(kind(), path), oldPictures(family(), 1));
        break;
      default:
        EXPECT_FALSE(write(path, image_, type, kKeep));
        EXPECT_FALSE(watch.written());
        EXPECT_EQ(readFile(path), before);
    }
  }
}

TEST_P(ArtworkMatrix, KeepsThree) {
  const std::string path = fileWith(3);
  const std::string before = readFile(path);
  if (family() == Family::kXiph) {
    EXPECT_TRUE(write(path, image_, 1, kKeep));
    EXPECT_EQ(picturesIn(kind(), path), oldPictures(family(), 3));
  } else if (family() != Family::kAPE) {
    EXPECT_FALSE(write(path, image_, 1, kKeep));
    EXPECT_EQ(readFile(path), before);
  } else {
    EXPECT_TRUE(write(path, image_, 1, kKeep));
    EXPECT_NE(readFile(path), before);
  }
}

/// APE has a key for each picture type, and only the front cover is replaced.
TEST_P(ArtworkMatrix, ReplacesThree) {
  for (const std::int64_t type : kTypes) {
    SCOPED_TRACE(type);
    const std::string path = fileWith(3);
    EXPECT_TRUE(write(path, image_, type, kReplace));
    Pictures expected = {frontCover(family(), type, image_)};
    if (family() == Family::kAPE) {
      for (const Picture& old : oldPictures(family(), 3)) {
        if (old.label != expected.back().label) expected.insert(expected.end() - 1, old);
      }
      // Back, Front, Media
      std::swap(expected[1], expected[2]);
    }
    EXPECT_EQ(picturesIn(kind(), path), expected);
  }
}

TEST_P(ArtworkMatrix, ReplacesWhatOtherSoftwareHasStored) {
  if (!GetParam().picture) {
    // Every class has such a file, under this name or another.
    const std::set<std::string> none = {"aiff", "wav", "oga_flac", "mpc"};
    EXPECT_TRUE(none.count(GetParam().name));
    return;
  }
  const std::string path = directory_.copyOf(GetParam().picture, GetParam().as);
  EXPECT_NE(picturesIn(kind(), path), Pictures());
  EXPECT_TRUE(write(path, image_, 4, kReplace));
  EXPECT_EQ(picturesIn(kind(), path), Pictures{frontCover(family(), 4, image_)});
}

INSTANTIATE_TEST_SUITE_P(Formats, ArtworkMatrix, testing::ValuesIn(kFormats),
                         [](const testing::TestParamInfo<Format>& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
}  // namespace tagwriter::test

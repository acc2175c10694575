// Images from nothing to 5 MB in every format, and the bigger ones that a format takes.
#include <gtest/gtest.h>

#include "tests/artwork/artwork_requests.h"
#include "tests/artwork/stored_pictures.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

class ImageSize : public testing::TestWithParam<Format> {
 protected:
  /// Writes an image of this size over none and over one, and looks for it.
  void check(std::size_t size, std::int64_t type = 2) {
    const std::string path = plainCopy(directory_, GetParam());
    const Family family = familyOf(GetParam().kind);
    for (const std::string& image : {imageOf(size), std::string(size, '\0')}) {
      EXPECT_TRUE(write(path, image, type, true));
      EXPECT_EQ(picturesIn(GetParam().kind, path), Pictures{frontCover(family, type, image)});
    }
    EXPECT_TRUE(clear(path));
    EXPECT_EQ(picturesIn(GetParam().kind, path), Pictures());
  }

  TemporaryDirectory directory_;
};

TEST_P(ImageSize, Empty) {
  check(0);
}

TEST_P(ImageSize, OneByte) {
  check(1);
}

TEST_P(ImageSize, AroundTheLimitsOfSmallNumbers) {
  for (const std::size_t size : {127U, 128U, 255U, 256U, 65535U, 65536U}) check(size);
}

TEST_P(ImageSize, HundredKilobytes) {
  check(100000);
}

TEST_P(ImageSize, FiveMegabytes) {
  check(5000000);
}

INSTANTIATE_TEST_SUITE_P(Formats, ImageSize, testing::ValuesIn(kFormats),
                         [](const testing::TestParamInfo<Format>& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
}  // namespace tagwriter::test

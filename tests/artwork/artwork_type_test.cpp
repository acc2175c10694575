// What each "artworktype" is called in the tag families.
#include "artwork/artwork_type.h"

#include <gtest/gtest.h>

#include <limits>

namespace tagwriter::test {
namespace {

struct Names {
  std::int64_t type;
  const char* mimeType;
  int mp4Format;
  const char* apeFileName;
};

void PrintTo(const Names& names, std::ostream* out) {
  *out << names.type;
}

constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();

constexpr Names kNames[] = {
    {1, "image/png", 14, "Cover Art (Front).png"},
    {2, "image/jpeg", 13, "Cover Art (Front).jpg"},
    {3, "image/tiff", 0, "Cover Art (Front).tiff"},
    {4, "image/gif", 12, "Cover Art (Front).gif"},
    {5, "image/bmp", 27, "Cover Art (Front).bmp"},
    {0, "", 0, "Cover Art (Front).jpg"},
    {6, "", 0, "Cover Art (Front).jpg"},
    {9, "", 0, "Cover Art (Front).jpg"},
    {-1, "", 0, "Cover Art (Front).jpg"},
    {-3, "", 0, "Cover Art (Front).jpg"},
    {std::int64_t{1} << 40, "", 0, "Cover Art (Front).jpg"},
    {(std::int64_t{1} << 32) + 1, "", 0, "Cover Art (Front).jpg"},
    {kLeast, "", 0, "Cover Art (Front).jpg"},
    {kMost, "", 0, "Cover Art (Front).jpg"},
};

class ArtworkTypeNames : public testing::TestWithParam<Names> {};

TEST_P(ArtworkTypeNames, AreTheOnesThatReadersExpect) {
  const ArtworkFormat& format = artworkFormatOf(GetParam().type);
  EXPECT_EQ(format.mime().to8Bit(true), GetParam().mimeType);
  EXPECT_EQ(int{format.mp4Format}, GetParam().mp4Format);
  EXPECT_STREQ(format.apeFileName, GetParam().apeFileName);
}

INSTANTIATE_TEST_SUITE_P(Types, ArtworkTypeNames, testing::ValuesIn(kNames),
                         [](const testing::TestParamInfo<Names>& info) {
                           const std::int64_t type = info.param.type;
                           if (type == kLeast) return std::string("least");
                           return type < 0 ? "minus" + std::to_string(-type) : std::to_string(type);
                         });

TEST(ArtworkType, HasTheNumbersOfTheRequest) {
  EXPECT_EQ(kArtworkPNG, 1);
  EXPECT_EQ(kArtworkJPEG, 2);
  EXPECT_EQ(kArtworkTIFF, 3);
  EXPECT_EQ(kArtworkGIF, 4);
  EXPECT_EQ(kArtworkBMP, 5);
}

}  // namespace
}  // namespace tagwriter::test

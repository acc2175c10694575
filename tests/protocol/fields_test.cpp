#include "protocol/fields.h"

#include <gtest/gtest.h>

#include <iterator>

namespace tagwriter::test {
namespace {

TEST(Fields, AreTwentyFourKeysOfATrack) {
  EXPECT_EQ(std::size(field::kAll), 24u);
}

TEST(Fields, AreFoundByTheirExactKeyOnly) {
  ASSERT_NE(field::find("albumArtist"), nullptr);
  EXPECT_EQ(field::find("albumArtist")->type, field::Type::kString);
  EXPECT_EQ(field::find("rating")->type, field::Type::kDouble);
  EXPECT_EQ(field::find("compilation")->type, field::Type::kBool);
  EXPECT_EQ(field::find("totalNumberOfDiscs")->type, field::Type::kInt64);
  EXPECT_EQ(field::find("albumartist"), nullptr);
  EXPECT_EQ(field::find("title "), nullptr);
  EXPECT_EQ(field::find(""), nullptr);
}

}  // namespace
}  // namespace tagwriter::test

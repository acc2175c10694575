#include "protocol/fields.h"

#include <gtest/gtest.h>

namespace tagwriter::test {
namespace {

TEST(Fields, AreFoundByTheirExactKeyOnly) {
  using field::Type;
  for (const auto& [key, type] : {std::pair("albumArtist", Type::kString),
                                  {"rating", Type::kDouble},
                                  {"compilation", Type::kBool},
                                  {"year", Type::kInt64},
                                  {"disc", Type::kInt64}}) {
    ASSERT_NE(field::find(key), nullptr) << key;
    EXPECT_EQ(field::find(key)->type, type) << key;
  }
  for (const char* key : {"albumartist", "title ", "titl", ""}) {
    EXPECT_EQ(field::find(key), nullptr) << key;
  }
  EXPECT_STREQ(field::find("disc")->companion, "totalNumberOfDiscs");
  EXPECT_EQ(field::find("trackNumber")->companion, nullptr);
}

}  // namespace
}  // namespace tagwriter::test

#include "cli/field_value.h"

#include <gtest/gtest.h>

namespace tagwriter::test {
namespace {

/// The value in `text`, which must be of this type.
template <typename T>
T parsed(const std::string& text) {
  std::string error;
  const auto assignment = parseAssignment(text, error);
  EXPECT_TRUE(assignment) << text << ": " << error;
  const T* value = assignment ? std::get_if<T>(&assignment->value) : nullptr;
  EXPECT_NE(value, nullptr) << text << ": another type";
  return value ? *value : T();
}

std::string refusal(const std::string& text) {
  std::string error;
  EXPECT_FALSE(parseAssignment(text, error)) << text;
  return error;
}

TEST(FieldValue, TakesEverythingBehindTheFirstEqualsSign) {
  EXPECT_EQ(parsed<std::string>("title=a=b=c"), "a=b=c");
  EXPECT_EQ(parsed<std::string>("title="), "");
  EXPECT_EQ(parsed<std::string>("title= padded "), " padded ");
  EXPECT_EQ(parsed<std::string>("title=\xf0\x9d\x84\x9e"), "\xf0\x9d\x84\x9e");
}

TEST(FieldValue, TakesEachFieldInItsOwnType) {
  EXPECT_EQ(parsed<std::int64_t>("year=1918"), 1918);
  EXPECT_EQ(parsed<std::int64_t>("year=-1"), -1);
  EXPECT_EQ(parsed<double>("rating=3.5"), 3.5);
  EXPECT_EQ(parsed<bool>("compilation=yes"), true);
  EXPECT_EQ(parsed<bool>("compilation=no"), false);
}

TEST(FieldValue, NamesTheKeyAndWhatItTakesWhenAValueDoesNotParse) {
  EXPECT_EQ(refusal("year=19x8"), "year: takes a whole number");
  EXPECT_EQ(refusal("year="), "year: takes a whole number");
  EXPECT_EQ(refusal("year= 7"), "year: takes a whole number");
  EXPECT_EQ(refusal("year=9223372036854775808"), "year: takes a whole number");
  EXPECT_EQ(refusal("rating=good"), "rating: takes a decimal number");
  EXPECT_EQ(refusal("compilation=maybe"), "compilation: takes yes or no");
  EXPECT_EQ(refusal("title=\xff"), "title: takes text in UTF-8");
}

TEST(FieldValue, RefusesAnUnknownKeyAndNamesTheKnownOnes) {
  const std::string text = refusal("Title=x");
  EXPECT_NE(text.find("Title: no such field"), std::string::npos) << text;
  EXPECT_NE(text.find("albumArtist"), std::string::npos) << text;
}

TEST(FieldValue, RefusesTextWithoutAnEqualsSign) {
  EXPECT_EQ(refusal("title"), "title: expected key=value");
}

}  // namespace
}  // namespace tagwriter::test

// Parsing values, finding the disc, escaping text and drawing the progress bar.
#include <gtest/gtest.h>

#include "cli/disc_position.h"
#include "cli/field_value.h"
#include "cli/printable.h"
#include "cli/progress.h"
#include "cli/usage_error.h"

namespace tagwriter::test {
namespace {

TEST(ParseAssignment, TakesEachFieldInItsType) {
  const std::pair<const char*, TrackValue> assignments[] = {
      {"title=a=b=c", std::string("a=b=c")},
      {"title=", std::string()},
      {"title= \xf0\x9d\x84\x9e ", std::string(" \xf0\x9d\x84\x9e ")},
      {"year=-1", std::int64_t{-1}},
      {"rating=3.5", 3.5},
      {"compilation=yes", true},
      {"compilation=off", false}};
  for (const auto& [text, value] : assignments) {
    EXPECT_TRUE(parseAssignment(text).value == value) << text;
  }
}

TEST(ParseAssignment, NamesTheKeyAndItsType) {
  for (const auto& [text, expected] : {std::pair("year=19x8", "year: must be a whole number"),
                                       {"year=", "year: must be a whole number"},
                                       {"year= 7", "year: must be a whole number"},
                                       {"year=9223372036854775808", "year: must be a whole number"},
                                       {"rating=good", "rating: must be a decimal number"},
                                       {"compilation=maybe", "compilation: must be yes or no"},
                                       {"title=\xff", "title: must be text in UTF-8"}}) {
    try {
      parseAssignment(text);
      ADD_FAILURE() << text;
    } catch (const UsageError& error) {
      EXPECT_STREQ(error.what(), expected);
    }
  }
}

TEST(Printable, EscapesOnlyControlCharacters) {
  for (const char* text : {"", "\tZo\xc3\xab \xe2\x99\xaa", "\xc2\xa0", "T\xe4", "\xc2"}) {
    EXPECT_EQ(printable(text), text);
  }
  EXPECT_EQ(printable(std::string("\x1b]0;\0\x07\r\n\x7f\xc2\x9b", 11)),
            "\\x1b]0;\\x00\\x07\\x0d\\x0a\\x7f\\x9b");
  EXPECT_EQ(printable("a\nb\x1b\xc2\x9b", true), "a\nb\\x1b\\x9b");
}

TEST(ProgressText, ShowsCountSpeedAndTimeLeft) {
  const std::string half = "[###############---------------] ";
  EXPECT_EQ(progressText(5, 10, 2), half + "5/10  2.5 files/s  0:02 left");
  EXPECT_EQ(progressText(1, 2, 61), half + "1/2  0.0 files/s  1:01 left");
  EXPECT_EQ(progressText(50, 100, 600), half + "50/100  0.1 files/s  10:00 left");
  EXPECT_EQ(progressText(5, 10, 0), half + "5/10");
  EXPECT_EQ(progressText(0, 10, 3), "[------------------------------] 0/10");
  EXPECT_EQ(progressText(999, 1000, 999),
            "[#############################-] 999/1000  1.0 files/s  0:01 left");
}

TEST(DiscPosition, IsFoundInEverySpelling) {
  struct {
    TagListing tags;
    std::int64_t number, total;
  } const discs[] = {
      {{}, 0, 0},
      {{{"DISCNUMBER", "03/12"}}, 3, 12},
      {{{"DISCNUMBER", "0/2"}}, 0, 2},
      {{{"TOTALDISCS", "3"}}, 0, 3},
      {{{"DISCNUMBER", "1/4"}, {"DISCTOTAL", "2"}, {"TOTALDISCS", "3"}}, 1, 4},
      {{{"DISCNUMBER", "1"}, {"DISCTOTAL", "2"}, {"TOTALDISCS", "3"}}, 1, 2},
      {{{"DISCNUMBER", "1"}, {"DISCTOTAL", "0"}, {"TOTALDISCS", "3"}}, 1, 3},
      {{{"DISCNUMBER", "1"}, {"DISCTOTAL", "x"}, {"TOTALDISCS", "3"}}, 1, 3},
      {{{"DISCNUMBER", "one"}, {"DISCTOTAL", "2"}}, 0, 2},
      {{{"DISCNUMBER", "1"}, {"DISCNUMBER", "2"}}, 1, 0},
      {{{"discnumber", "1"}, {"TRACKNUMBER", "7/9"}}, 0, 0},
  };
  for (const auto& disc : discs) {
    const DiscPosition position = discPositionOf(disc.tags);
    EXPECT_EQ(position.number, disc.number) << testing::PrintToString(disc.tags);
    EXPECT_EQ(position.total, disc.total) << testing::PrintToString(disc.tags);
  }
}

}  // namespace
}  // namespace tagwriter::test

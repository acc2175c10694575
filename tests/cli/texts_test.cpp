// Parsing values, finding the disc, escaping text and drawing the progress bar.
#include <gtest/gtest.h>

#include "cli/assignments.h"
#include "cli/closest_word.h"
#include "cli/disc_position.h"
#include "cli/field_keys.h"
#include "cli/printable.h"
#include "cli/progress.h"
#include "cli/usage_error.h"

namespace tagwriter::test {
namespace {

TEST(ParseAssignments, TakesEachFieldInItsType) {
  const std::pair<const char*, FieldAssignment> assignments[] = {
      {"title=a=b=c", {"title", "a=b=c"}},
      {"title=", {"title", ""}},
      {"title= \xf0\x9d\x84\x9e ", {"title", " \xf0\x9d\x84\x9e "}},
      {"title=@@home@", {"title", "@home@"}},
      {"title=3/12", {"title", "3/12"}},
      {"year=-1", {"year", std::int64_t{-1}}},
      {"DATE=1", {"year", std::int64_t{1}}},
      {"Album_Artist=A", {"albumArtist", "A"}},
      {"album artist=A", {"albumArtist", "A"}},
      {"rating=3.5", {"rating", 3.5}},
      {"compilation=yes", {"compilation", true}},
      {"compilation=off", {"compilation", false}}};
  for (const auto& [text, expected] : assignments) {
    const auto parsed = parseAssignments({text});
    ASSERT_EQ(parsed.size(), 1) << text;
    EXPECT_EQ(parsed[0].key, expected.key) << text;
    EXPECT_TRUE(parsed[0].value == expected.value) << text;
  }
}

TEST(ParseAssignments, TakesANumberWithItsTotal) {
  for (const auto& [text, total] : {std::pair("track=3/12", field::kTotalNumberOfTracks),
                                    {"disc=3/12", field::kTotalNumberOfDiscs}}) {
    const auto parsed = parseAssignments({text});
    ASSERT_EQ(parsed.size(), 2) << text;
    EXPECT_TRUE(parsed[0].value == TrackValue(std::int64_t{3})) << text;
    EXPECT_EQ(parsed[1].key, total);
    EXPECT_TRUE(parsed[1].value == TrackValue(std::int64_t{12})) << text;
  }
}

TEST(ParseAssignments, SaysWhatIsWrong) {
  const std::pair<std::vector<std::string>, const char*> wrong[] = {
      {{"title"}, "title: expected KEY=VALUE, such as title=Morgen"},
      {{"year=19x8"}, "year: must be a whole number, not '19x8'"},
      {{"year="}, "year: must be a whole number, not ''"},
      {{"year= 7"}, "year: must be a whole number, not ' 7'"},
      {{"year=1/2"}, "year: must be a whole number, not '1/2'"},
      {{"year=9223372036854775808"}, "year: must be a whole number, not '9223372036854775808'"},
      {{"track=x"}, "trackNumber: must be a whole number, or number/total, not 'x'"},
      {{"track=3/"}, "totalNumberOfTracks: must be a whole number, not ''"},
      {{"track=3/4/5"}, "totalNumberOfTracks: must be a whole number, not '4/5'"},
      {{"rating=good"}, "rating: must be a decimal number, not 'good'"},
      {{"compilation=maybe"}, "compilation: must be yes or no, not 'maybe'"},
      {{"title=\xff"},
       "title: must be text in UTF-8, without zero bytes (iconv converts other encodings)"},
      {{"titel=T"}, "titel: no such field; did you mean 'title'?"},
      {{"trakc=T"}, "trakc: no such field; did you mean 'trackNumber'?"},
      {{"artist=A", "title=T", "ARTIST=B"},
       "artist: is given twice, but only one value of a field can be kept; put all of them into "
       "one text, such as 'A; B'"},
      {{"disc=1/2", "discTotal=2"},
       "totalNumberOfDiscs: is given twice, but only one value of a field can be kept; put all of "
       "them into one text, such as 'A; B'"}};
  for (const auto& [arguments, expected] : wrong) {
    try {
      parseAssignments(arguments);
      ADD_FAILURE() << arguments[0];
    } catch (const UsageError& error) {
      EXPECT_STREQ(error.what(), expected);
    }
  }
}

TEST(FieldAliases, CanBeFoundAndHideNoKey) {
  for (const FieldAlias& alias : kFieldAliases) {
    EXPECT_STREQ(fieldNamed(alias.name).key, alias.key) << alias.name;
  }
}

TEST(ClosestWord, AllowsFewMistakes) {
  const std::vector<std::string> known = {"set", "title", "artist", "albumArtist"};
  const std::pair<const char*, const char*> words[] = {{"sett", "set"},
                                                       {"est", "set"},
                                                       {"tset", "set"},
                                                       {"x", ""},
                                                       {"xyz", ""},
                                                       {"st", "set"},
                                                       {"titel", "title"},
                                                       {"ARTSIT", "artist"},
                                                       {"tilte", "title"},
                                                       {"aertst", "artist"},
                                                       {"album_artist", "albumArtist"},
                                                       {"composer", ""},
                                                       {"", ""}};
  for (const auto& [word, expected] : words) EXPECT_EQ(closestWord(word, known), expected) << word;
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

// Numbers on their way into a tag and back.
#include "tagging/numbers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "tagging/strings.h"

namespace tagwriter::test {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr std::int32_t kMin32 = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMax32 = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t kMin64 = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax64 = std::numeric_limits<std::int64_t>::max();

// What the outputs hold where no number was found.
constexpr std::int64_t kFirst = 111;
constexpr std::int64_t kSecond = 222;

struct PairCase {
  const char* text;
  int count;
  std::int64_t first = kFirst;
  std::int64_t second = kSecond;
};

const PairCase kPairs[] = {
    {"", 0},
    {"abc", 0},
    {"/5", 0},
    {"/12", 0},
    {"/", 0},
    {" ", 0},
    {"-", 0},
    {"x7", 0},
    {"x/12", 0},
    {"7", 1, 7},
    {"7/", 1, 7},
    {"3/", 1, 3},
    {"3/x", 1, 3},
    {"3/ ", 1, 3},
    {"1/2/", 1, 1},
    {"1/2/x", 1, 1},
    {"7 of 12", 1, 7},
    {"3/12", 2, 3, 12},
    {"07/12", 2, 7, 12},
    {"1/2/3", 2, 1, 3},
    {" 3 / 9", 2, 3, 9},
    {"\t3/\n9", 2, 3, 9},
    {"3x/12y", 2, 3, 12},
    {"+3/+12", 2, 3, 12},
    {"-3/-12", 2, -3, -12},
    {"0/0", 2, 0, 0},
    {"2147483647/-2147483648", 2, kMax32, kMin32},
    // Cut to 32 bits.
    {"2147483648/4294967295", 2, kMin32, -1},
    {"4294967296/4294967301", 2, 0, 5},
    {"-4294967297/-4294967296", 2, -1, 0},
    {"9223372036854775807/-9223372036854775808", 2, -1, 0},
    // Beyond 64 bits the C library answers with its largest and smallest number.
    {"9223372036854775808/99999999999999999999", 2, -1, -1},
    {"-9223372036854775809/-99999999999999999999", 2, 0, 0},
};

TEST(ParseNumberPair, ReadsBytes) {
  for (const PairCase& pair : kPairs) {
    SCOPED_TRACE(pair.text);
    std::int64_t first = kFirst;
    std::int64_t second = kSecond;
    EXPECT_EQ(parseNumberPair(pair.text, first, second), pair.count);
    EXPECT_EQ(first, pair.first);
    EXPECT_EQ(second, pair.second);
  }
}

TEST(ParseNumberPair, ReadsStringsOfTheLibrary) {
  for (const PairCase& pair : kPairs) {
    SCOPED_TRACE(pair.text);
    std::int64_t first = kFirst;
    std::int64_t second = kSecond;
    EXPECT_EQ(parseNumberPair(TagLib::String(pair.text), first, second), pair.count);
    EXPECT_EQ(first, pair.first);
    EXPECT_EQ(second, pair.second);
  }
}

TEST(ParseNumberPair, FindsNothingInTheNullString) {
  std::int64_t first = kFirst;
  std::int64_t second = kSecond;
  EXPECT_EQ(parseNumberPair(nullString(), first, second), 0);
  EXPECT_EQ(parseNumberPair(TagLib::String(), first, second), 0);
  EXPECT_EQ(first, kFirst);
  EXPECT_EQ(second, kSecond);
}

TEST(ParseNumberPair, TakesStringsOfTheLibraryForLatin1) {
  std::int64_t first = kFirst;
  std::int64_t second = kSecond;
  // Digits beyond ASCII are none, and what stands between the numbers does not matter.
  EXPECT_EQ(parseNumberPair(TagLib::String("\uff13/12", TagLib::String::UTF8), first, second), 0);
  EXPECT_EQ(first, kFirst);
  EXPECT_EQ(parseNumberPair(TagLib::String("3é/12🎵", TagLib::String::UTF8), first, second), 2);
  EXPECT_EQ(first, 3);
  EXPECT_EQ(second, 12);
}

TEST(Low32, KeepsTheLowBitsWithTheirSign) {
  EXPECT_EQ(low32(0), 0);
  EXPECT_EQ(low32(-1), -1);
  EXPECT_EQ(low32(kMax32), kMax32);
  EXPECT_EQ(low32(std::int64_t{kMax32} + 1), kMin32);
  EXPECT_EQ(low32(0xffffffff), -1);
  EXPECT_EQ(low32(0x100000000), 0);
  EXPECT_EQ(low32(0x123456789), 0x23456789);
  EXPECT_EQ(low32(std::int64_t{kMin32} - 1), kMax32);
  EXPECT_EQ(low32(kMin64), 0);
  EXPECT_EQ(low32(kMax64), -1);
}

TEST(Truncated, CutsTheFraction) {
  EXPECT_EQ(truncateToInt32(0.0), 0);
  EXPECT_EQ(truncateToInt32(-0.0), 0);
  EXPECT_EQ(truncateToInt32(0.9), 0);
  EXPECT_EQ(truncateToInt32(-0.9), 0);
  EXPECT_EQ(truncateToInt32(1.999999), 1);
  EXPECT_EQ(truncateToInt32(-1.999999), -1);
  EXPECT_EQ(truncateToInt32(81.99999999999999), 81);
  EXPECT_EQ(truncateToInt32(5e-324), 0);
}

TEST(Truncated, GivesTheNearestNumberBeyondTheRange) {
  EXPECT_EQ(truncateToInt32(2147483646.9), kMax32 - 1);
  EXPECT_EQ(truncateToInt32(2147483647.0), kMax32);
  EXPECT_EQ(truncateToInt32(2147483647.5), kMax32);
  EXPECT_EQ(truncateToInt32(2147483648.0), kMax32);
  EXPECT_EQ(truncateToInt32(1e300), kMax32);
  EXPECT_EQ(truncateToInt32(kInfinity), kMax32);
  EXPECT_EQ(truncateToInt32(-2147483647.9), kMin32 + 1);
  EXPECT_EQ(truncateToInt32(-2147483648.0), kMin32);
  EXPECT_EQ(truncateToInt32(-2147483648.5), kMin32);
  EXPECT_EQ(truncateToInt32(-2147483649.0), kMin32);
  EXPECT_EQ(truncateToInt32(-1e300), kMin32);
  EXPECT_EQ(truncateToInt32(-kInfinity), kMin32);
}

TEST(Truncated, TakesWhatIsNoNumberForZero) {
  EXPECT_EQ(truncateToInt32(kNaN), 0);
  EXPECT_EQ(truncateToInt32(-kNaN), 0);
}

TEST(Printed, GivesTheWholeTextWhenItFits) {
  EXPECT_EQ(formatTruncated(10, "%d", 70), "70");
  EXPECT_EQ(formatTruncated(4, "%d", 123), "123");
  EXPECT_EQ(formatTruncated(6, "%d/%ld", 12, 34L), "12/34");
  EXPECT_EQ(formatTruncated(16, "%f", 3.5), "3.500000");
  EXPECT_EQ(formatTruncated(10, "%s", ""), "");
}

TEST(Printed, CutsBeforeTheTerminatorAtItsSize) {
  EXPECT_EQ(formatTruncated(4, "%d", 1234), "123");
  EXPECT_EQ(formatTruncated(10, "%d", kMin32), "-21474836");
  EXPECT_EQ(formatTruncated(16, "%f", 1e300), "100000000000000");
  EXPECT_EQ(formatTruncated(1, "%d", 7), "");
  // Any step beyond the buffer is for AddressSanitizer to see.
  for (std::size_t size = 1; size < 400; ++size) {
    const std::string text = formatTruncated(size, "%f", -1.7976931348623157e308);
    EXPECT_EQ(text.size(), std::min<std::size_t>(size - 1, 317));
  }
}

/// What the library means by a null string, which its other functions do not tell from an empty
/// one.
bool isNull(const TagLib::String& text) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
  return text.isNull();
#pragma GCC diagnostic pop
}

TEST(ToTagString, TellsAnAbsentTextFromAnEmptyOne) {
  EXPECT_TRUE(isNull(toTagString(nullptr)));
  EXPECT_TRUE(isNull(nullString()));
  EXPECT_FALSE(isNull(toTagString("")));
  EXPECT_TRUE(toTagString("").isEmpty());
}

TEST(ToTagString, ReadsUTF8) {
  EXPECT_EQ(toTagString("Žluť 🎵").to8Bit(true), "Žluť 🎵");
  // The library's strings hold UTF-16 units even where characters have room for more.
  EXPECT_EQ(toTagString("🎵").size(), 2u);
}

}  // namespace
}  // namespace tagwriter::test

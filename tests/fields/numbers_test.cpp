// Numbers and totals as tags hold them.
#include "tagging/numbers.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace tagwriter::test {
namespace {

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
    {"/12", 0},
    {"/", 0},
    {" ", 0},
    {"-", 0},
    {"x/12", 0},
    {"7", 1, 7},
    {"7/", 1, 7},
    {"3/x", 1, 3},
    {"3/ ", 1, 3},
    {"1/2/", 1, 1},
    {"7 of 12", 1, 7},
    {"010/0x10", 2, 10, 0},
    {"1/2/3", 2, 1, 3},
    {" 3 / 9", 2, 3, 9},
    {"\t3/\n9", 2, 3, 9},
    {"3x/12y", 2, 3, 12},
    {"+3/-12", 2, 3, -12},
    {"0/0", 2, 0, 0},
    // Truncated to 32 bits.
    {"2147483648/4294967295", 2, -2147483648LL, -1},
    {"4294967296/4294967301", 2, 0, 5},
    // Beyond 64 bits the C library answers with its largest and smallest number.
    {"9223372036854775808/-9223372036854775809", 2, -1, 0},
};

template <typename Text>
void expectPair(const Text& text, const PairCase& pair) {
  SCOPED_TRACE(pair.text);
  std::int64_t first = kFirst;
  std::int64_t second = kSecond;
  EXPECT_EQ(parseNumberPair(text, first, second), pair.count);
  EXPECT_EQ(first, pair.first);
  EXPECT_EQ(second, pair.second);
}

TEST(ParseNumberPair, WritesOnlyTheNumbersThatAreThere) {
  for (const PairCase& pair : kPairs) {
    expectPair(pair.text, pair);
    expectPair(TagLib::String(pair.text), pair);
  }
  expectPair(TagLib::String(), {"", 0});
}

TEST(ParseNumberPair, TakesTagLibStringsForLatin1) {
  // Digits outside ASCII do not count, and the text between the numbers does not matter.
  expectPair(TagLib::String("\uff13/12", TagLib::String::UTF8), {"wide 3", 0});
  expectPair(TagLib::String("3é/12🎵", TagLib::String::UTF8), {"beyond ASCII", 2, 3, 12});
}

}  // namespace
}  // namespace tagwriter::test

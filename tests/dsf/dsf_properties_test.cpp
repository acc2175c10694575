// What the properties make of the fmt and data chunks.
#include "dsf/dsf_properties.h"

#include <gtest/gtest.h>
#include <tbytevectorstream.h>

#include <limits>

#include "tests/dsf/dsf_bytes.h"

namespace tagwriter::test {
namespace {

constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kRate = 2822400;

/// Length in s, bitrate in kbit/s, sample rate in Hz, channels.
using Values = std::array<int, 4>;

constexpr Values kNothing = {0, 0, 0, 0};
constexpr Values kAll = {3, 5644, kRate, 2};  // 2 channels of 2822400 bits per second

Values valuesOf(const std::string& bytes, TagLib::AudioProperties::ReadStyle style) {
  TagLib::ByteVectorStream stream(vectorOf(bytes));
  const TagLib::DSF::File file(&stream, true, style);
  EXPECT_TRUE(file.isValid());
  const TagLib::DSF::Properties* properties = file.audioProperties();
  if (!properties) return {-1, -1, -1, -1};
  return {properties->length(), properties->bitrate(), properties->sampleRate(),
          properties->channels()};
}

Values valuesOf(const std::string& bytes) {
  return valuesOf(bytes, TagLib::AudioProperties::Average);
}

Values valuesOf(const DsfBytes& dsf) {
  return valuesOf(dsf.bytes());
}

TEST(DsfProperties, AreTheSameWithEveryStyle) {
  using TagLib::AudioProperties;
  for (const auto style :
       {AudioProperties::Fast, AudioProperties::Average, AudioProperties::Accurate}) {
    EXPECT_EQ(valuesOf(DsfBytes().bytes(), style), kAll);
  }
}

TEST(DsfProperties, FollowTheNumbersOfTheFile) {
  struct Row {
    std::uint32_t channels;
    std::uint32_t sampleRate;
    std::int64_t sampleCount;
    std::int64_t dataSize;
    Values expected;
  };
  const Row rows[] = {
      {6, 5644800, 7LL * 5644800, 12 + 7 * 5644800LL * 6 / 8, {7, 33868, 5644800, 6}},
      // The bitrate does not depend on the number of channels.
      {0, kRate, 3 * kRate, 12 + 3 * kRate * 2 / 8, {3, 5644, kRate, 0}},
      // The length is truncated to whole seconds, and there is no bitrate for less than one.
      {2, kRate, 2 * kRate, 0, {2, 0, kRate, 2}},
      {2, kRate, 2 * kRate - 1, 0, {1, 0, kRate, 2}},
      {2, kRate, kRate - 1, kMax, {0, 0, kRate, 2}},
      {2, kRate, 0, kMax, {0, 0, kRate, 2}},
      {2, kRate, -2 * kRate + 1, 1 << 30, {-1, 0, kRate, 2}},
      // The bitrate leaves out the 12 bytes of the data chunk's header: here 2000 bits in 2 s.
      {2, kRate, 2 * kRate, 12 + 250, {2, 1, kRate, 2}},
      {2, kRate, 2 * kRate, 12 + 249, {2, 0, kRate, 2}},
      {2, kRate, 2 * kRate, 12 - 250, {2, -1, kRate, 2}},
      // The number of bits wraps around.
      {2, 1, 1, kMax, {1, 0, 1, 2}},
      {2, 1, 1, kMin, {1, 0, 1, 2}},
      {2, 1, 1, (1LL << 61) + 12 + 125, {1, 1, 1, 2}},
      // Only the final length is converted to int.
      {2, 1, (1LL << 32) + 5, 12 + ((1LL << 32) + 5) * 1000 / 8, {5, 1, 1, 2}},
      {2, 1, 1LL << 32, 12 + (1LL << 32) * 1000 / 8, {0, 1, 1, 2}},
      // Divisions that are not defined.
      {2, 0, 3 * kRate, 1 << 30, {0, 0, 0, 2}},
      {2, 0xFFFFFFFF, kMin, 1 << 30, {0, 0, -1, 2}},
      // Impossible values are returned unchanged.
      {0xFFFFFFFF, 0xFFFFFFFF, 5, 1 << 30, {-5, 0, -1, -1}},
      {2, 0x80000000, 3LL << 31, 1 << 30, {-3, 0, std::numeric_limits<int>::min(), 2}},
  };
  for (const Row& row : rows) {
    DsfBytes dsf;
    dsf.channels = row.channels;
    dsf.sampleRate = row.sampleRate;
    dsf.sampleCount = row.sampleCount;
    dsf.dataSize = row.dataSize;
    EXPECT_EQ(valuesOf(dsf), row.expected)
        << row.channels << " " << row.sampleRate << " " << row.sampleCount << " " << row.dataSize;
  }
}

TEST(DsfProperties, HaveTheLengthInMillisecondsToo) {
  struct Row {
    std::int64_t sampleCount;
    std::uint32_t sampleRate;
    int seconds;
    int milliseconds;
  };
  for (const Row& row : {Row{5 * kRate / 2 - 1, kRate, 2, 2499},
                         {-5 * kRate / 2, kRate, -2, -2500},
                         {kMax, 0x7FFFFFFF, 2, 2000},
                         {kMin, 0xFFFFFFFF, 0, 0},
                         {3, 0, 0, 0}}) {
    DsfBytes dsf;
    dsf.sampleCount = row.sampleCount;
    dsf.sampleRate = row.sampleRate;
    TagLib::ByteVectorStream stream(vectorOf(dsf.bytes()));
    const TagLib::DSF::File file(&stream);
    EXPECT_EQ(file.audioProperties()->lengthInSeconds(), row.seconds);
    EXPECT_EQ(file.audioProperties()->lengthInMilliseconds(), row.milliseconds);
    // TagLib 1 asks only its own classes.
    const TagLib::AudioProperties& asAnyFile = *file.audioProperties();
    constexpr bool kAsksOurs = TAGLIB_MAJOR_VERSION > 1;
    EXPECT_EQ(asAnyFile.lengthInSeconds(), kAsksOurs ? row.seconds : 0);
    EXPECT_EQ(asAnyFile.lengthInMilliseconds(), kAsksOurs ? row.milliseconds : 0);
  }
}

TEST(DsfProperties, NeedTheChunkIds) {
  DsfBytes dsf;
  for (const char* id : {"DATA", "dat ", "fmt "}) {
    dsf.dataId = id;
    EXPECT_EQ(valuesOf(dsf), (Values{3, 0, kRate, 2})) << id;
  }
  for (const char* id : {"fmt_", "FMT ", "data", " fmt"}) {
    dsf.fmtId = id;
    EXPECT_EQ(valuesOf(dsf), kNothing) << id;
  }
}

TEST(DsfProperties, FollowTheSizeOfTheFmtChunk) {
  struct Row {
    std::int64_t size;
    std::size_t bodyLength;
    Values expected;
  };
  const Row rows[] = {
      {kMin, 40, kNothing},
      {-1, 40, kNothing},
      {0, 40, kNothing},
      {11, 40, kNothing},
      {12, 40, kNothing},
      {12, 0, kNothing},  // "data" follows at once
      // A short chunk has the fields that it has room for.
      {24, 12, kNothing},
      {28, 16, {0, 0, 0, 2}},
      {32, 20, {0, 0, kRate, 2}},
      {36, 24, {0, 0, kRate, 2}},
      {44, 32, kAll},
      // Of a long one 128 bytes are read, and "data" is expected there.
      {128, 116, kAll},
      {129, 116, kAll},
      {1LL << 62, 116, kAll},
      {kMax, 116, kAll},
      {129, 117, {3, 0, kRate, 2}},
  };
  for (const Row& row : rows) {
    DsfBytes dsf;
    dsf.fmtSize = row.size;
    dsf.fmtBodyLength = row.bodyLength;
    EXPECT_EQ(valuesOf(dsf), row.expected) << row.size << " " << row.bodyLength;
  }
}

TEST(DsfProperties, AreReadAsFarAsTheFileGoes) {
  const std::pair<std::size_t, Values> ends[] = {
      {30, kNothing},         {40, kNothing},         {56, {0, 0, 0, 2}}, {60, {0, 0, kRate, 2}},
      {72, {3, 0, kRate, 2}}, {84, {3, 0, kRate, 2}}, {92, kAll}};
  for (const auto& [end, expected] : ends) {
    EXPECT_EQ(valuesOf(DsfBytes().bytes().substr(0, end)), expected) << end;
  }
}

}  // namespace
}  // namespace tagwriter::test

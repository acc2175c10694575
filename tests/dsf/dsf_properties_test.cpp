// What the fmt and data chunks come out as.
#include "dsf/dsf_properties.h"

#include <gtest/gtest.h>
#include <tbytevectorstream.h>

#include <limits>

#include "dsf/dsf_file.h"
#include "tests/dsf/dsf_bytes.h"

namespace tagwriter::test {
namespace {

constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();

struct Values {
  int length;
  int bitrate;
  int sampleRate;
  int channels;
  bool operator==(const Values&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Values& values) {
  return out << values.length << " s, " << values.bitrate << " kbit/s, " << values.sampleRate
             << " Hz, " << values.channels << " channels";
}

constexpr Values kNothing = {0, 0, 0, 0};

/// What the properties of a file with these bytes say, through the library's own interface.
Values valuesOf(const std::string& bytes) {
  TagLib::ByteVectorStream stream(
      TagLib::ByteVector(bytes.data(), static_cast<unsigned int>(bytes.size())));
  const TagLib::DSF::File file(&stream);
  EXPECT_TRUE(file.isValid());
  const TagLib::AudioProperties* properties = file.audioProperties();
  if (!properties) {
    ADD_FAILURE() << "no properties";
    return kNothing;
  }
  return {properties->length(), properties->bitrate(), properties->sampleRate(),
          properties->channels()};
}

Values valuesOf(const DsfBytes& dsf) {
  return valuesOf(dsf.bytes());
}

TEST(DsfPropertiesTest, AreThoseThatTheFileStates) {
  // 2 channels of 2822400 bits a second: 5644.8 kbit/s.
  EXPECT_EQ(valuesOf(DsfBytes()), (Values{3, 5644, 2822400, 2}));
  DsfBytes dsf;
  dsf.channels = 6;
  dsf.sampleRate = 5644800;
  dsf.bitsPerSample = 8;  // makes no difference
  dsf.sampleCount = 7LL * 5644800;
  dsf.dataSize = 12 + 7 * 5644800LL * 6 / 8;
  EXPECT_EQ(valuesOf(dsf), (Values{7, 33868, 5644800, 6}));
}

TEST(DsfPropertiesTest, LengthIsTruncatedToSeconds) {
  DsfBytes dsf;
  dsf.sampleCount = 2LL * 2822400;
  EXPECT_EQ(valuesOf(dsf).length, 2);
  dsf.sampleCount = 2LL * 2822400 - 1;
  EXPECT_EQ(valuesOf(dsf).length, 1);
  dsf.sampleCount = 2822400 - 1;
  EXPECT_EQ(valuesOf(dsf).length, 0);
  dsf.sampleCount = -2LL * 2822400 + 1;
  EXPECT_EQ(valuesOf(dsf).length, -1);
}

TEST(DsfPropertiesTest, BitrateLeavesOutTheDataChunksHeader) {
  DsfBytes dsf;
  dsf.sampleCount = 2LL * 2822400;
  dsf.dataSize = 12 + 250;  // 2000 bits in 2 s
  EXPECT_EQ(valuesOf(dsf).bitrate, 1);
  dsf.dataSize = 12 + 249;
  EXPECT_EQ(valuesOf(dsf).bitrate, 0);
  dsf.dataSize = 0;  // -96 bits
  EXPECT_EQ(valuesOf(dsf).bitrate, 0);
  dsf.dataSize = 12 - 250;
  EXPECT_EQ(valuesOf(dsf).bitrate, -1);
}

TEST(DsfPropertiesTest, BitrateIsZeroForLessThanASecond) {
  DsfBytes dsf;
  for (const std::int64_t count :
       {std::int64_t{2822399}, std::int64_t{0}, std::int64_t{-2822400}, kMin}) {
    dsf.sampleCount = count;
    EXPECT_EQ(valuesOf(dsf).bitrate, 0) << count;
    EXPECT_EQ(valuesOf(dsf).sampleRate, 2822400) << count;
  }
}

TEST(DsfPropertiesTest, LengthIsCutToAnIntOnlyAtTheEnd) {
  DsfBytes dsf;
  dsf.sampleRate = 1;
  for (const int rest : {0, 5}) {
    dsf.sampleCount = (1LL << 32) + rest;
    dsf.dataSize = 12 + dsf.sampleCount * 1000 / 8;
    EXPECT_EQ(valuesOf(dsf), (Values{rest, 1, 1, 2}));
  }
}

TEST(DsfPropertiesTest, AllAreZeroWithoutAFmtChunk) {
  DsfBytes dsf;
  for (const char* id : {"fmt_", "FMT ", "data", " fmt"}) {
    dsf.fmtId = id;
    EXPECT_EQ(valuesOf(dsf), kNothing) << id;
  }
}

TEST(DsfPropertiesTest, BitrateIsZeroWithoutADataChunk) {
  DsfBytes dsf;
  for (const char* id : {"DATA", "dat ", "fmt "}) {
    dsf.dataId = id;
    EXPECT_EQ(valuesOf(dsf), (Values{3, 0, 2822400, 2})) << id;
  }
}

TEST(DsfPropertiesTest, AFmtChunkWithoutABodyGivesNothing) {
  DsfBytes dsf;
  for (const std::int64_t size : {std::int64_t{11}, std::int64_t{1}, std::int64_t{0},
                                  std::int64_t{-1}, std::int64_t{-40}, kMin}) {
    dsf.fmtSize = size;
    EXPECT_EQ(valuesOf(dsf), kNothing) << size;
  }
  dsf.fmtSize = 12;
  EXPECT_EQ(valuesOf(dsf), kNothing);
  dsf.fmtBodyLength = 0;  // "data" follows at once
  EXPECT_EQ(valuesOf(dsf), kNothing);
}

TEST(DsfPropertiesTest, AShortFmtBodyGivesTheFieldsThatItHolds) {
  const auto withBody = [](std::size_t length) {
    DsfBytes dsf;
    dsf.fmtBodyLength = length;
    dsf.fmtSize = static_cast<std::int64_t>(12 + length);
    return valuesOf(dsf);
  };
  EXPECT_EQ(withBody(12), kNothing);
  EXPECT_EQ(withBody(16), (Values{0, 0, 0, 2}));
  EXPECT_EQ(withBody(20), (Values{0, 0, 2822400, 2}));
  EXPECT_EQ(withBody(24), (Values{0, 0, 2822400, 2}));
  EXPECT_EQ(withBody(32), (Values{3, 5644, 2822400, 2}));
}

TEST(DsfPropertiesTest, NoMoreThan128BytesOfTheFmtChunkAreRead) {
  DsfBytes dsf;
  dsf.fmtSize = 128;
  dsf.fmtBodyLength = 116;
  const Values all = {3, 5644, 2822400, 2};
  EXPECT_EQ(valuesOf(dsf), all);

  // Longer chunks: "data" is expected 128 bytes behind the start of fmt, and nowhere else.
  for (const std::int64_t size :
       {std::int64_t{129}, std::int64_t{1000}, std::int64_t{1} << 62, kMax}) {
    dsf.fmtSize = size;
    EXPECT_EQ(valuesOf(dsf), all) << size;
  }
  dsf.fmtSize = 129;
  dsf.fmtBodyLength = 117;
  EXPECT_EQ(valuesOf(dsf), (Values{3, 0, 2822400, 2}));
}

TEST(DsfPropertiesTest, LengthAndBitrateAreZeroAtASamplingFrequencyOfZero) {
  DsfBytes dsf;
  dsf.sampleRate = 0;
  EXPECT_EQ(valuesOf(dsf), (Values{0, 0, 0, 2}));
}

TEST(DsfPropertiesTest, NonsenseComesOutAsItStands) {
  DsfBytes dsf;
  dsf.channels = 0xFFFFFFFF;
  dsf.sampleRate = 0xFFFFFFFF;
  dsf.sampleCount = 5;
  EXPECT_EQ(valuesOf(dsf), (Values{-5, 0, -1, -1}));
  dsf.sampleCount = kMin;  // its quotient is no number of 64 bits
  EXPECT_EQ(valuesOf(dsf), (Values{0, 0, -1, -1}));
  dsf.sampleCount = -5;
  EXPECT_EQ(valuesOf(dsf).length, 5);
  dsf.sampleRate = 0x80000000;
  dsf.sampleCount = 3LL << 31;
  EXPECT_EQ(valuesOf(dsf), (Values{-3, 0, std::numeric_limits<int>::min(), -1}));
}

TEST(DsfPropertiesTest, ADataSizeBeyondMeasureWrapsAround) {
  DsfBytes dsf;
  dsf.sampleRate = 1;
  dsf.sampleCount = 1;
  for (const std::int64_t size : {kMax, kMin, std::int64_t{1} << 61}) {  // -104 and -96 bits
    dsf.dataSize = size;
    EXPECT_EQ(valuesOf(dsf).bitrate, 0) << size;
  }
  dsf.dataSize = (std::int64_t{1} << 61) + 12 + 125;
  EXPECT_EQ(valuesOf(dsf).bitrate, 1);
}

TEST(DsfPropertiesTest, AFileThatEndsEarlyGivesWhatItHolds) {
  const std::string bytes = DsfBytes().bytes();
  EXPECT_EQ(valuesOf(bytes.substr(0, 30)), kNothing);
  EXPECT_EQ(valuesOf(bytes.substr(0, 40)), kNothing);
  EXPECT_EQ(valuesOf(bytes.substr(0, 56)), (Values{0, 0, 0, 2}));
  EXPECT_EQ(valuesOf(bytes.substr(0, 60)), (Values{0, 0, 2822400, 2}));
  EXPECT_EQ(valuesOf(bytes.substr(0, 72)), (Values{3, 0, 2822400, 2}));
  EXPECT_EQ(valuesOf(bytes.substr(0, 84)), (Values{3, 0, 2822400, 2}));
  EXPECT_EQ(valuesOf(bytes.substr(0, 92)), (Values{3, 5644, 2822400, 2}));
}

TEST(DsfPropertiesTest, ReadTheSameWithEveryStyle) {
  const std::string bytes = DsfBytes().bytes();
  TagLib::ByteVectorStream stream(
      TagLib::ByteVector(bytes.data(), static_cast<unsigned int>(bytes.size())));
  using Style = TagLib::AudioProperties::ReadStyle;
  for (const Style style : {Style::Fast, Style::Average, Style::Accurate}) {
    stream.seek(0);
    const TagLib::DSF::File file(&stream, true, style);
    ASSERT_NE(file.audioProperties(), nullptr);
    EXPECT_EQ(file.audioProperties()->length(), 3);
    EXPECT_EQ(file.audioProperties()->bitrate(), 5644);
  }
}

}  // namespace
}  // namespace tagwriter::test

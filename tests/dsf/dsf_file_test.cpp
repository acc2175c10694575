// What is read when a DSF file is opened.
#include "dsf/dsf_file.h"

#include <gtest/gtest.h>
#include <tbytevectorstream.h>

#include <limits>
#include <set>

#include "tests/dsf/dsf_bytes.h"

namespace tagwriter::test {
namespace {

TEST(DsfFile, HasTheTagAtThePointer) {
  const OpenDsf dsf(dataFile("dsf_tagged.dsf"), O_RDONLY);
  ASSERT_TRUE(dsf.file.isValid());
  EXPECT_EQ(dsf.title(), "Rising Tone");
  EXPECT_EQ(dsf.file.tag()->artist().to8Bit(true), "Zoë Müller");
}

TEST(DsfFile, HasAnEmptyTagWhereThePointerIsZeroOrPointsNowhere) {
  for (const char* name :
       {"dsf_plain.dsf", "dsf_pointer_at_end.dsf", "dsf_pointer_beyond_end.dsf"}) {
    const OpenDsf dsf(dataFile(name), O_RDONLY);
    ASSERT_TRUE(dsf.file.isValid());
    ASSERT_NE(dsf.file.tag(), nullptr);
    EXPECT_TRUE(dsf.file.tag()->isEmpty());
    EXPECT_EQ(dsf.file.audioProperties()->sampleRate(), 2822400);
  }
}

/// Records where it is asked to go.
class SeekLog : public TagLib::ByteVectorStream {
 public:
  using ByteVectorStream::ByteVectorStream;
  void seek(TagLib::StreamOffset offset, Position position) override {
    if (position == Beginning) offsets.insert(offset);
    ByteVectorStream::seek(offset, position);
  }
  std::set<long> offsets;
};

TEST(DsfFile, TakesTheSignedPointerOrMinusOneFromTheFilesLengthOn) {
  constexpr long kMax = std::numeric_limits<long>::max();
  constexpr long kMin = std::numeric_limits<long>::min();
  for (const auto& [pointer, offset] : {std::pair(100L, 100L),
                                        {155L, 155L},
                                        {156L, -1L},
                                        {kMax, -1L},
                                        {-1L, -1L},
                                        {-77L, -77L},
                                        {kMin, kMin}}) {
    const std::string bytes = withPointer(DsfBytes().bytes(), pointer);
    ASSERT_EQ(bytes.size(), 156u);
    SeekLog stream(vectorOf(bytes));
    const TagLib::DSF::File file(&stream, false);
    EXPECT_EQ(stream.offsets.count(offset), 1u) << pointer;
  }
}

TEST(DsfFile, HasPropertiesOnlyWhenTheyAreWanted) {
  for (const bool wanted : {false, true}) {
    TagLib::ByteVectorStream stream(vectorOf(readFile(dataFile("dsf_tagged.dsf"))));
    {
      const TagLib::DSF::File file(&stream, wanted);
      EXPECT_EQ(file.audioProperties() != nullptr, wanted);
      EXPECT_EQ(file.tag()->title(), "Rising Tone");
    }
    EXPECT_TRUE(stream.isOpen()) << "the stream stays its owner's";
  }
}

TEST(DsfFile, StartsToReadWhereTheStreamStands) {
  TagLib::ByteVectorStream stream(vectorOf("before" + DsfBytes().bytes()));
  stream.seek(6);
  EXPECT_TRUE(TagLib::DSF::File(&stream).isValid());
}

TEST(DsfFile, IsInvalidUnlessItStartsWithItsChunkId) {
  const TemporaryDirectory directory;
  for (const std::string& id : {std::string("RIFF"), std::string("dsd "), std::string("DSD_"),
                                std::string("DSD\0", 4), std::string(" DSD"), std::string()}) {
    DsfBytes dsf;
    dsf.dsdId = id;
    const std::string path = directory.write("other.dsf", dsf.bytes());
    {
      OpenDsf other(path);
      EXPECT_TRUE(other.file.isOpen());
      EXPECT_FALSE(other.file.isValid());
      EXPECT_EQ(other.file.tag(), nullptr);
      EXPECT_EQ(other.file.audioProperties(), nullptr);
      EXPECT_FALSE(other.file.save());
    }
    EXPECT_EQ(readFile(path), dsf.bytes());
  }
  const std::string absent = directory.path() / "absent.dsf";
  TagLib::DSF::File file(absent.c_str());
  EXPECT_FALSE(file.isOpen());
  EXPECT_FALSE(file.isValid());
  EXPECT_EQ(file.tag(), nullptr);
  EXPECT_FALSE(file.save());
  EXPECT_FALSE(std::filesystem::exists(absent));
}

}  // namespace
}  // namespace tagwriter::test

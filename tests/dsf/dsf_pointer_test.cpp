// Metadata pointers that point nowhere, or just not.
#include <gtest/gtest.h>
#include <tbytevectorstream.h>

#include <limits>
#include <set>
#include <utility>

#include "tests/dsf/dsf_bytes.h"
#include "tests/dsf/open_dsf.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();

std::string plainBytes() {
  return readFile(dataFile("dsf_plain.dsf"));
}

/// Pointers at or beyond the end, which leave the offset at -1, and negative ones, which become it.
class PointerToNowhereTest : public testing::TestWithParam<std::int64_t> {
 protected:
  TemporaryDirectory directory;
  const std::string before = withPointer(plainBytes(), GetParam());
  const std::string path = directory.write("nowhere.dsf", before);
};

TEST_P(PointerToNowhereTest, LeavesAValidFileWithAnEmptyTag) {
  OpenDsf dsf(path);
  EXPECT_TRUE(dsf.file.isValid());
  ASSERT_NE(dsf.file.tag(), nullptr);
  EXPECT_TRUE(dsf.file.tag()->isEmpty());
  ASSERT_NE(dsf.file.audioProperties(), nullptr);
  EXPECT_EQ(dsf.file.audioProperties()->sampleRate(), 2822400);
}

TEST_P(PointerToNowhereTest, KeepsEveryByteWhenATagIsSaved) {  // kept: it counts as tagged
  EXPECT_TRUE(editTitle(path, "nowhere to put it"));
  EXPECT_EQ(readFile(path), before);
}

TEST_P(PointerToNowhereTest, KeepsEveryByteWhenATagIsSavedTwice) {
  {
    OpenDsf dsf(path);
    dsf.file.tag()->setTitle("one");
    EXPECT_TRUE(dsf.file.save());
    dsf.file.tag()->setTitle(TagLib::String(std::string(5000, 'x')));
    EXPECT_TRUE(dsf.file.save());
  }
  EXPECT_EQ(readFile(path), before);
}

TEST_P(PointerToNowhereTest, BecomesZeroWhenAnEmptyTagIsSaved) {
  EXPECT_TRUE(saveEmptied(path));
  EXPECT_EQ(readFile(path), plainBytes());
}

TEST_P(PointerToNowhereTest, IsRepairedByAnEmptyTagSoThatTheNextOneIsAppended) {
  {
    OpenDsf dsf(path);
    dsf.emptyTag();
    EXPECT_TRUE(dsf.file.save());
    dsf.file.tag()->setTitle("found its place");
    EXPECT_TRUE(dsf.file.save());
  }
  const std::string after = readFile(path);
  const std::size_t end = before.size();
  EXPECT_EQ(after.substr(0, end), withPointer(before, static_cast<std::int64_t>(end)));
  EXPECT_EQ(after.size(), end + id3v2SizeAt(after, end));
  EXPECT_EQ(OpenDsf(path).file.tag()->title().to8Bit(true), "found its place");
}

TEST_P(PointerToNowhereTest, KeepsEveryByteOfAFileOpenedByName) {
  {
    TagLib::DSF::File file(path.c_str());
    ASSERT_TRUE(file.isValid());
    file.tag()->setTitle("nowhere to put it");
    EXPECT_TRUE(file.save());
  }
  EXPECT_EQ(readFile(path), before);
  {
    TagLib::DSF::File file(path.c_str());
    EXPECT_TRUE(file.save());
  }
  EXPECT_EQ(readFile(path), plainBytes());
}

TEST_P(PointerToNowhereTest, KeepsEveryByteInMemory) {
  TagLib::ByteVectorStream stream(
      TagLib::ByteVector(before.data(), static_cast<unsigned int>(before.size())));
  TagLib::DSF::File file(&stream);
  file.tag()->setTitle("nowhere to put it");
  EXPECT_TRUE(file.save());
  EXPECT_EQ(std::string(stream.data()->data(), stream.data()->size()), before);
}

INSTANTIATE_TEST_SUITE_P(Pointers, PointerToNowhereTest,
                         testing::Values(8284, 8285, 8284 + 4096, kMax, -1, -10, -20, -8284, kMin));

TEST(PointerTest, TestDataPointsWhereItsNamesSay) {
  EXPECT_EQ(readFile(dataFile("dsf_pointer_at_end.dsf")), withPointer(plainBytes(), 8284));
  EXPECT_EQ(readFile(dataFile("dsf_pointer_beyond_end.dsf")),
            withPointer(plainBytes(), 8284 + 4096));
}

/// Notes where it is asked to go.
class SeekLog : public TagLib::ByteVectorStream {
 public:
  using ByteVectorStream::ByteVectorStream;
  void seek(long offset, Position position) override {
    if (position == Beginning) offsets.insert(offset);
    ByteVectorStream::seek(offset, position);
  }
  std::set<long> offsets;
};

TEST(PointerTest, IsSignedAndGivesWayToMinusOneFromTheFilesLengthOn) {
  const std::pair<std::int64_t, long> cases[] = {{100, 100}, {155, 155}, {156, -1},   {kMax, -1},
                                                 {-1, -1},   {-77, -77}, {kMin, kMin}};
  for (const auto& [pointer, offset] : cases) {
    const std::string bytes = withPointer(DsfBytes().bytes(), pointer);
    ASSERT_EQ(bytes.size(), 156U);
    SeekLog stream(TagLib::ByteVector(bytes.data(), static_cast<unsigned int>(bytes.size())));
    const TagLib::DSF::File file(&stream, false);
    EXPECT_EQ(stream.offsets.count(offset), 1U) << pointer;
  }
}

TEST(PointerTest, ToTheLastByteIsTaken) {
  // There is no tag: the library makes one of 10 bytes of it, which the new one replaces.
  const TemporaryDirectory directory;
  const std::string before = withPointer(plainBytes(), 8283);
  const std::string path = directory.write("last.dsf", before);
  EXPECT_TRUE(editTitle(path, "at the last byte"));
  const std::string after = readFile(path);
  EXPECT_EQ(after.substr(0, 8283), before.substr(0, 8283));
  EXPECT_EQ(after.size(), 8283 + id3v2SizeAt(after, 8283));
}

TEST(PointerTest, SurvivesATagThatClaimsMoreThanTheFileHas) {
  const TemporaryDirectory directory;
  const std::string header = std::string("ID3\x04\0\0\x7F\x7F\x7F\x7F", 10);
  const std::string before = withPointer(plainBytes(), 8284) + header;
  const std::string path = directory.write("claims.dsf", before);
  EXPECT_TRUE(editTitle(path, "true"));
  const std::string after = readFile(path);
  EXPECT_EQ(after.substr(0, 8284), before.substr(0, 8284));
  EXPECT_EQ(after.size(), 8284 + id3v2SizeAt(after, 8284));
  EXPECT_EQ(OpenDsf(path).file.tag()->title().to8Bit(true), "true");

  const std::string emptied = directory.write("emptied.dsf", before);
  EXPECT_TRUE(saveEmptied(emptied));
  EXPECT_EQ(readFile(emptied), plainBytes());
}

}  // namespace
}  // namespace tagwriter::test

// Reading, seeking and writing through a file stream. The edits that move the rest of the file are
// in fd_file_stream_edit_test.cpp.
#include "io/fd_file_stream.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdio>

#include "base/unique_fd.h"
#include "tests/io/stream_file.h"
#include "tests/support/log_capture.h"

namespace tagwriter::test {
namespace {

using TagLib::ByteVector;
using TagLib::FDFileStream;
using TagLib::IOStream;

/// A stream over a file of 3000 bytes.
class FDFileStreamTest : public testing::Test {
 protected:
  /// The file's bytes, what the stream still holds back included.
  std::string written() const {
    std::fflush(nullptr);
    return file_.bytes();
  }

  const std::string before_ = patternOf(3000);
  const StreamFile file_{before_};
  LogCapture log_;
  FDFileStream stream_{file_.open(), file_.path().c_str(), nullptr};
};

TEST_F(FDFileStreamTest, ReadsOnFromWhereTheLastReadEnded) {
  EXPECT_EQ(stringOf(stream_.readBlock(10)), before_.substr(0, 10));
  EXPECT_EQ(stringOf(stream_.readBlock(1500)), before_.substr(10, 1500));
  EXPECT_EQ(stringOf(stream_.readBlock(1024)), before_.substr(1510, 1024));
  EXPECT_EQ(stream_.tell(), 2534);
}

TEST_F(FDFileStreamTest, ReadsNothingWhenNothingIsWanted) {
  stream_.seek(20);
  EXPECT_TRUE(stream_.readBlock(0).isEmpty());
  EXPECT_EQ(stream_.tell(), 20);
  EXPECT_EQ(log_.text(), "");
}

TEST_F(FDFileStreamTest, ReadsWhatIsLeftNearTheEnd) {
  stream_.seek(2970);
  EXPECT_EQ(stringOf(stream_.readBlock(100)), before_.substr(2970));
  EXPECT_EQ(stream_.tell(), 3000);
  EXPECT_TRUE(stream_.readBlock(100).isEmpty());
}

TEST_F(FDFileStreamTest, ReadsWhatIsLeftNearTheEndWhenMuchIsWanted) {
  stream_.seek(2970);
  EXPECT_EQ(stringOf(stream_.readBlock(2000)), before_.substr(2970));
  EXPECT_EQ(stream_.tell(), 3000);
}

TEST_F(FDFileStreamTest, ReadsAWholeFileThatIsShorterThanWanted) {
  EXPECT_EQ(stringOf(stream_.readBlock(5000)), before_);
  EXPECT_EQ(stream_.tell(), 3000);
}

/// Claims to be much shorter than its file.
class ShortStream final : public FDFileStream {
 public:
  using FDFileStream::FDFileStream;
  long length() override { return 5; }
};

TEST_F(FDFileStreamTest, AsksForTheLengthOnlyBeforeAReadOfMoreThanOneBuffer) {
  ShortStream stream(file_.open(), "", nullptr);
  EXPECT_EQ(stringOf(stream.readBlock(1024)), before_.substr(0, 1024));
  EXPECT_EQ(stringOf(stream.readBlock(1025)), before_.substr(1024, 5));
}

TEST_F(FDFileStreamTest, LimitsAReadToTheLengthBeforeItAllocates) {
  // One more than 32 bits hold: a size that is cut before it is limited would read a single byte.
  EXPECT_EQ(stringOf(stream_.readBlock((1UL << 32) + 1)), before_);
  stream_.seek(0);
  EXPECT_EQ(stringOf(stream_.readBlock(ULONG_MAX)), before_);
}

TEST_F(FDFileStreamTest, LimitsAReadToTheLengthWithWhatIsNotYetWritten) {
  stream_.seek(0, IOStream::End);
  stream_.writeBlock("more");
  stream_.seek(0);
  EXPECT_EQ(stringOf(stream_.readBlock(5000)), before_ + "more");
}

TEST_F(FDFileStreamTest, ReadsNothingBeyondTheEnd) {
  for (const unsigned long length : {1UL, 1024UL, 1025UL, 100000UL}) {
    stream_.seek(5000);
    EXPECT_TRUE(stream_.readBlock(length).isEmpty()) << length;
    EXPECT_EQ(stream_.tell(), 5000) << length;
  }
  EXPECT_EQ(written(), before_);
}

TEST_F(FDFileStreamTest, ReadsPastAnEarlierEndOnceThatIsCleared) {
  stream_.seek(0, IOStream::End);
  ASSERT_TRUE(stream_.readBlock(1).isEmpty());
  stream_.truncate(3010);
  stream_.clear();
  EXPECT_EQ(stringOf(stream_.readBlock(100)), std::string(10, '\0'));
}

TEST_F(FDFileStreamTest, SeeksFromTheBeginningTheCurrentPositionAndTheEnd) {
  stream_.seek(100);
  EXPECT_EQ(stream_.tell(), 100);
  stream_.seek(20, IOStream::Current);
  EXPECT_EQ(stream_.tell(), 120);
  stream_.seek(-50, IOStream::Current);
  EXPECT_EQ(stream_.tell(), 70);
  stream_.seek(-10, IOStream::End);
  EXPECT_EQ(stream_.tell(), 2990);
  stream_.seek(10, IOStream::End);
  EXPECT_EQ(stream_.tell(), 3010);
  stream_.seek(7, IOStream::Beginning);
  EXPECT_EQ(stringOf(stream_.readBlock(3)), before_.substr(7, 3));
  EXPECT_EQ(log_.text(), "");
}

TEST_F(FDFileStreamTest, StaysWhereItIsWhenAPositionIsBeforeTheFile) {
  stream_.seek(100);
  stream_.seek(-1);
  stream_.seek(-101, IOStream::Current);
  stream_.seek(-3001, IOStream::End);
  EXPECT_EQ(stream_.tell(), 100);
  EXPECT_EQ(stringOf(stream_.readBlock(3)), before_.substr(100, 3));
  EXPECT_EQ(log_.text(), "");
}

TEST_F(FDFileStreamTest, ReportsAnUnknownPositionAndStaysWhereItIs) {
  stream_.seek(100);
  stream_.seek(0, static_cast<IOStream::Position>(3));
  EXPECT_EQ(log_.text(), "FDFileStream::seek() -- Invalid Position value.");
  EXPECT_EQ(stream_.tell(), 100);
}

TEST_F(FDFileStreamTest, TakesANegativePositionForAnUnknownOne) {
  stream_.seek(100);
  const volatile int negative = -1;  // volatile: no such constant may be converted
  stream_.seek(0, static_cast<IOStream::Position>(negative));
  EXPECT_EQ(log_.text(), "FDFileStream::seek() -- Invalid Position value.");
  EXPECT_EQ(stream_.tell(), 100);
}

TEST_F(FDFileStreamTest, MeasuresWithoutMoving) {
  for (const long position : {0L, 1234L, 3000L, 4000L}) {
    stream_.seek(position);
    EXPECT_EQ(stream_.length(), 3000);
    EXPECT_EQ(stream_.tell(), position);
  }
  stream_.seek(1234);
  EXPECT_EQ(stringOf(stream_.readBlock(3)), before_.substr(1234, 3));
  EXPECT_EQ(log_.text(), "");
}

TEST_F(FDFileStreamTest, MeasuresWhatIsNotYetWritten) {
  stream_.seek(2998);
  stream_.writeBlock("four");
  EXPECT_EQ(stream_.length(), 3002);
  EXPECT_EQ(stream_.tell(), 3002);
}

TEST_F(FDFileStreamTest, OverwritesAtItsPosition) {
  stream_.seek(1000);
  stream_.writeBlock("overwritten");
  EXPECT_EQ(stream_.tell(), 1011);
  EXPECT_EQ(written(), before_.substr(0, 1000) + "overwritten" + before_.substr(1011));
}

TEST_F(FDFileStreamTest, WritesAllOfLongData) {
  const std::string data = patternOf(70000, 2);
  stream_.seek(2000);
  stream_.writeBlock(vectorOf(data));
  EXPECT_EQ(stream_.tell(), 72000);
  EXPECT_EQ(written(), before_.substr(0, 2000) + data);
}

TEST_F(FDFileStreamTest, FillsAGapWithZeros) {
  stream_.seek(3005);
  stream_.writeBlock("x");
  EXPECT_EQ(written(), before_ + std::string(5, '\0') + "x");
}

TEST_F(FDFileStreamTest, WritesNoDataNowhere) {
  stream_.seek(5000);
  stream_.writeBlock(ByteVector());
  EXPECT_EQ(stream_.tell(), 5000);
  EXPECT_EQ(written(), before_);
  EXPECT_EQ(log_.text(), "");
}

TEST_F(FDFileStreamTest, ReadsRightAfterWritingAndWritesRightAfterReading) {
  stream_.writeBlock("abc");
  EXPECT_EQ(stringOf(stream_.readBlock(5)), before_.substr(3, 5));
  stream_.writeBlock("de");
  EXPECT_EQ(stringOf(stream_.readBlock(1500)), before_.substr(10, 1500));
  stream_.writeBlock("f");
  EXPECT_EQ(written(), "abc" + before_.substr(3, 5) + "de" + before_.substr(10, 1500) + "f" +
                           before_.substr(1511));
}

TEST_F(FDFileStreamTest, WritesAfterAReadThatCameToTheEnd) {
  stream_.seek(2990);
  EXPECT_EQ(stringOf(stream_.readBlock(50)), before_.substr(2990));
  stream_.writeBlock("appended");
  EXPECT_EQ(written(), before_ + "appended");
}

TEST_F(FDFileStreamTest, WorksBeyondFourGibibytes) {
  constexpr long kFar = 5'000'000'000;
  stream_.truncate(kFar);
  EXPECT_EQ(stream_.length(), kFar);
  stream_.seek(kFar - 2);
  stream_.writeBlock("far away");
  EXPECT_EQ(stream_.tell(), kFar + 6);
  stream_.insert("very ", kFar - 2, 0);
  stream_.removeBlock(kFar + 6, 3);
  stream_.seek(-9, IOStream::End);
  EXPECT_EQ(stream_.tell(), kFar - 1);
  EXPECT_EQ(stringOf(stream_.readBlock(100)), "ery faray");
  EXPECT_EQ(stream_.length(), kFar + 8);
  EXPECT_EQ(log_.text(), "");
}

TEST(FDFileStreamOnAPipe, HasNoLengthToLimitALongReadTo) {
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
  {
    const UniqueFd input(ends[1]);
    ASSERT_EQ(::write(input.get(), "0123456789", 10), 10);
  }
  FDFileStream stream(ends[0], "", nullptr);
  EXPECT_EQ(stream.length(), -1);
  EXPECT_TRUE(stream.readBlock(5000).isEmpty());
  EXPECT_EQ(stringOf(stream.readBlock(1024)), "0123456789");
}

}  // namespace
}  // namespace tagwriter::test

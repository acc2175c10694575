// What a file stream refuses to do: without a file, and on one that it may only read.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <cstdio>

#include "base/unique_fd.h"
#include "io/fd_file_stream.h"
#include "protocol/value_dictionary.h"
#include "tests/io/stream_file.h"
#include "tests/support/log_capture.h"

namespace tagwriter::test {
namespace {

using TagLib::FDFileStream;
using TagLib::IOStream;

/// A stream that could not be opened, over a descriptor through which the file could be damaged.
class InvalidFDFileStream : public testing::Test {
 protected:
  InvalidFDFileStream() {
    EXPECT_FALSE(stream_.isOpen());
    opening_ = log_.text().size();
  }

  /// What was said since the stream could not be opened.
  std::string said() const { return log_.text().substr(opening_); }

  const std::string before_ = patternOf(3000);
  const StreamFile file_{before_};
  const UniqueFd descriptor_{file_.open(O_WRONLY)};
  LogCapture log_;
  FDFileStream stream_{descriptor_.get(), "", nullptr};

 private:
  std::size_t opening_ = 0;
};

TEST_F(InvalidFDFileStream, ReadsNothing) {
  EXPECT_TRUE(stream_.readBlock(10).isEmpty());
  EXPECT_EQ(said(), "FDFileStream::readBlock() -- invalid file");
}

TEST_F(InvalidFDFileStream, ReportsEvenAReadOfNothing) {
  EXPECT_TRUE(stream_.readBlock(0).isEmpty());
  EXPECT_EQ(said(), "FDFileStream::readBlock() -- invalid file");
}

TEST_F(InvalidFDFileStream, WritesNothing) {
  stream_.writeBlock("data");
  EXPECT_EQ(said(), "FDFileStream::writeBlock() -- invalid file");
  EXPECT_EQ(file_.bytes(), before_);
}

TEST_F(InvalidFDFileStream, InsertsNothing) {
  stream_.insert("data", 10, 2);
  EXPECT_EQ(said(), "FDFileStream::insert() -- invalid file");
  EXPECT_EQ(file_.bytes(), before_);
}

TEST_F(InvalidFDFileStream, RemovesNothing) {
  stream_.removeBlock(10, 20);
  EXPECT_EQ(said(), "FDFileStream::removeBlock() -- invalid file");
  EXPECT_EQ(file_.bytes(), before_);
}

TEST_F(InvalidFDFileStream, SeeksNowhere) {
  stream_.seek(10);
  EXPECT_EQ(said(), "FDFileStream::seek() -- invalid file");
  EXPECT_EQ(::lseek(descriptor_.get(), 0, SEEK_CUR), 0);
}

TEST_F(InvalidFDFileStream, ReportsThatItIsNotOpenBeforeAnUnknownPosition) {
  stream_.seek(0, static_cast<IOStream::Position>(3));
  EXPECT_EQ(said(), "FDFileStream::seek() -- invalid file");
}

TEST_F(InvalidFDFileStream, HasNoLength) {
  EXPECT_EQ(stream_.length(), 0);
  EXPECT_EQ(said(), "FDFileStream::length() -- invalid file");
}

TEST_F(InvalidFDFileStream, TellsZeroWithoutAWord) {
  EXPECT_EQ(stream_.tell(), 0);
  EXPECT_EQ(said(), "");
}

TEST_F(InvalidFDFileStream, ClearsNothingWithoutAWord) {
  stream_.clear();
  EXPECT_EQ(said(), "");
}

TEST_F(InvalidFDFileStream, TruncatesNothingWithoutAWord) {
  stream_.truncate(5);
  EXPECT_EQ(said(), "");
  EXPECT_EQ(file_.bytes(), before_);
}

TEST_F(InvalidFDFileStream, DoesNotAskThePlayerToTruncate) {
  int asked = 0;
  ValueDictionary request([&](int) {
    ++asked;
    return nullptr;
  });
  request.set("truncateconnection", BorrowedFd{0});
  FDFileStream stream(-1, "", &request);
  stream.truncate(5);
  EXPECT_EQ(asked, 0);
}

/// The same over each descriptor that leaves a stream read-only: one that cannot be written, and
/// one that could be but shall not.
class ReadOnlyFDFileStream : public testing::TestWithParam<int> {
 protected:
  const std::string before_ = patternOf(3000);
  const StreamFile file_{before_};
  LogCapture log_;
  FDFileStream stream_{file_.open(GetParam()), "", nullptr, true};
};

TEST_P(ReadOnlyFDFileStream, RefusesToWrite) {
  stream_.seek(10);
  stream_.writeBlock("data");
  EXPECT_EQ(log_.text(), "FDFileStream::writeBlock() -- read only file");
  EXPECT_EQ(stream_.tell(), 10);
  std::fflush(nullptr);
  EXPECT_EQ(file_.bytes(), before_);
}

TEST_P(ReadOnlyFDFileStream, RefusesToInsert) {
  stream_.seek(10);
  stream_.insert("equal", 5, 5);
  stream_.insert("growing", 5, 0);
  stream_.insert("less", 5, 500);
  EXPECT_EQ(log_.text(),
            "FDFileStream::insert() -- read only file"
            "FDFileStream::insert() -- read only file"
            "FDFileStream::insert() -- read only file");
  EXPECT_EQ(stream_.tell(), 10);
  EXPECT_EQ(file_.bytes(), before_);
}

TEST_P(ReadOnlyFDFileStream, StillReadsSeeksAndMeasures) {
  stream_.seek(-100, IOStream::End);
  EXPECT_EQ(stream_.tell(), 2900);
  EXPECT_EQ(stream_.length(), 3000);
  EXPECT_EQ(stringOf(stream_.readBlock(200)), before_.substr(2900));
  stream_.clear();
  stream_.seek(0);
  EXPECT_EQ(stringOf(stream_.readBlock(4000)), before_);
  EXPECT_EQ(log_.text(), "");
}

INSTANTIATE_TEST_SUITE_P(Descriptors, ReadOnlyFDFileStream, testing::Values(O_RDONLY, O_RDWR),
                         [](const auto& descriptor) {
                           return descriptor.param == O_RDONLY ? "ReadOnly" : "Writable";
                         });

TEST(FDFileStreamReadOnly, TriesToTruncateAfterARemovalThatCannotWrite) {
  LogCapture log;
  const std::string before = patternOf(3000);
  const StreamFile file(before);
  {
    FDFileStream stream(file.open(O_RDONLY), "", nullptr);
    stream.removeBlock(100, 50);
  }
  EXPECT_EQ(file.bytes(), before);
  EXPECT_EQ(log.text(),
            "FDFileStream::truncate() -- Coundn't truncate the file 22 Invalid argument.\n");
}

TEST(FDFileStreamReadOnly, LosesTheEndInARemovalWhenTheDescriptorCanBeTruncated) {
  LogCapture log;
  const std::string before = patternOf(3000);
  const StreamFile file(before);
  {
    FDFileStream stream(file.open(), "", nullptr, true);
    stream.removeBlock(100, 50);
  }
  EXPECT_EQ(file.bytes(), before.substr(0, 2950)) << "cut, but nothing moved";
  EXPECT_EQ(log.text(), "");
}

TEST(FDFileStreamReadOnly, ReportsATruncationThatTheDescriptorDoesNotAllow) {
  LogCapture log;
  const StreamFile file("0123456789");
  {
    FDFileStream stream(file.open(O_RDONLY), "", nullptr);
    stream.truncate(5);
  }
  EXPECT_EQ(file.bytes(), "0123456789");
  EXPECT_EQ(log.text(),
            "FDFileStream::truncate() -- Coundn't truncate the file 22 Invalid argument.\n");
}

}  // namespace
}  // namespace tagwriter::test

// The edits that move the rest of the file: inserting and removing.
#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <string>
#include <utility>

#include "io/fd_file_stream.h"
#include "tests/io/stream_file.h"
#include "tests/support/log_capture.h"

namespace tagwriter::test {
namespace {

using TagLib::ByteVector;
using TagLib::FDFileStream;

class FDFileStreamEdit : public testing::Test {
 protected:
  std::string written() const {
    std::fflush(nullptr);
    return file_.bytes();
  }

  const std::string before_ = patternOf(10000);
  const StreamFile file_{before_};
  LogCapture log_;
  FDFileStream stream_{file_.open(), file_.path().c_str(), nullptr};
};

TEST_F(FDFileStreamEdit, InsertOfTheSameSizeWritesInPlace) {
  stream_.insert("0123456789", 50, 10);
  EXPECT_EQ(written(), before_.substr(0, 50) + "0123456789" + before_.substr(60));
  EXPECT_EQ(stream_.tell(), 60);
}

TEST_F(FDFileStreamEdit, InsertOfLessRemovesTheDifference) {
  stream_.insert("01234", 50, 10);
  EXPECT_EQ(written(), before_.substr(0, 50) + "01234" + before_.substr(60));
}

TEST_F(FDFileStreamEdit, InsertOfNothingRemoves) {
  stream_.insert(ByteVector(), 50, 10);
  EXPECT_EQ(written(), before_.substr(0, 50) + before_.substr(60));
}

TEST_F(FDFileStreamEdit, InsertOfNothingInPlaceOfNothingChangesNothing) {
  stream_.insert(ByteVector(), 50, 0);
  EXPECT_EQ(written(), before_);
}

TEST_F(FDFileStreamEdit, InsertStartsAtTheBeginningAndReplacesNothingByDefault) {
  stream_.seek(100);
  stream_.insert("new");
  EXPECT_EQ(written(), "new" + before_);
}

TEST_F(FDFileStreamEdit, InsertAtTheEndAppends) {
  stream_.insert("new", 10000, 0);
  EXPECT_EQ(written(), before_ + "new");
}

TEST_F(FDFileStreamEdit, InsertBeyondTheEndFillsTheGapWithZeros) {
  stream_.insert("new", 10010, 0);
  EXPECT_EQ(written(), before_ + std::string(10, '\0') + "new");
}

TEST_F(FDFileStreamEdit, InsertReplacesUpToTheEndWhenMoreIsToBeReplaced) {
  stream_.insert("0123456789", 9998, 5);
  EXPECT_EQ(written(), before_.substr(0, 9998) + "0123456789");
}

TEST_F(FDFileStreamEdit, InsertOfLessCutsTheFileWhenMoreIsToBeReplaced) {
  stream_.insert("01234", 9998, 500);
  EXPECT_EQ(written(), before_.substr(0, 9998) + "01234");
}

TEST_F(FDFileStreamEdit, InsertIntoAnEmptyFileWritesTheData) {
  const StreamFile empty("");
  {
    FDFileStream stream(empty.open(), "", nullptr);
    stream.insert("data", 0, 0);
  }
  EXPECT_EQ(empty.bytes(), "data");
}

TEST_F(FDFileStreamEdit, RemoveMovesTheRest) {
  stream_.removeBlock(50, 2000);
  EXPECT_EQ(written(), before_.substr(0, 50) + before_.substr(2050));
  EXPECT_EQ(stream_.length(), 8000);
}

TEST_F(FDFileStreamEdit, RemoveOfTheLastBytesTruncates) {
  stream_.removeBlock(9990, 10);
  EXPECT_EQ(written(), before_.substr(0, 9990));
}

TEST_F(FDFileStreamEdit, RemoveOfMoreThanThereIsTruncates) {
  stream_.removeBlock(9990, 100000);
  EXPECT_EQ(written(), before_.substr(0, 9990));
}

TEST_F(FDFileStreamEdit, RemoveOfEverythingLeavesAnEmptyFile) {
  stream_.removeBlock(0, 10000);
  EXPECT_EQ(written(), "");
}

TEST_F(FDFileStreamEdit, RemoveOfNothingChangesNothing) {
  stream_.removeBlock();
  stream_.removeBlock(50, 0);
  stream_.removeBlock(10000, 0);
  EXPECT_EQ(written(), before_);
}

TEST_F(FDFileStreamEdit, RemoveBeyondTheEndStretchesTheFileToItsStart) {
  stream_.removeBlock(10010, 5);
  EXPECT_EQ(written(), before_ + std::string(10, '\0'));
}

TEST_F(FDFileStreamEdit, LeavesTheEarlierEndOfFileBehind) {
  stream_.seek(10000);
  ASSERT_TRUE(stream_.readBlock(1).isEmpty());
  stream_.insert("new", 0, 0);
  stream_.removeBlock(3, 7);
  EXPECT_EQ(written(), "new" + before_.substr(7));
}

TEST_F(FDFileStreamEdit, IgnoresARangeThatStartsWhereNoFileReaches) {
  for (const unsigned long start : {ULONG_MAX, 1UL << 63, (1UL << 63) + 50}) {
    for (const unsigned long length : {0UL, 3UL, 4000UL, ULONG_MAX, ULONG_MAX - 2}) {
      stream_.seek(20);
      stream_.insert("new", start, length);
      stream_.insert(vectorOf(patternOf(4000)), start, length);
      stream_.insert(ByteVector(), start, length);
      stream_.removeBlock(start, length);
      EXPECT_EQ(stream_.tell(), 20);
    }
  }
  EXPECT_EQ(written(), before_);
  EXPECT_EQ(log_.text(), "");
}

TEST_F(FDFileStreamEdit, IgnoresARangeBeyondTheEndOfTheFileSystem) {
  const UniqueFd probe(file_.open());
  if (::lseek(probe.get(), LONG_MAX - 4096, SEEK_SET) >= 0) {
    GTEST_SKIP() << "the file system of the temporary directory takes every offset";
  }
  for (const unsigned long far : {(1UL << 63) - 11, (1UL << 63) - 4096}) {
    for (const auto& [start, length] :
         {std::pair(far, 0UL), std::pair(far, 5UL), std::pair(10UL, far - 10)}) {
      stream_.seek(20);
      stream_.insert("new", start, length);
      stream_.insert(vectorOf(patternOf(4000)), start, length);
      stream_.insert(ByteVector(), start, length);
      stream_.removeBlock(start, length);
      EXPECT_EQ(stream_.tell(), 20);
    }
  }
  EXPECT_EQ(written(), before_);
  EXPECT_EQ(log_.text(), "");
}

TEST_F(FDFileStreamEdit, IgnoresARangeThatEndsWhereNoFileReaches) {
  constexpr unsigned long kMax = LONG_MAX;
  for (const auto& [start, length] : {std::pair(1UL, kMax), std::pair(50UL, ULONG_MAX - 49),
                                      std::pair(50UL, ULONG_MAX), std::pair(0UL, kMax + 1)}) {
    stream_.seek(20);
    stream_.insert("new", start, length);
    stream_.insert(ByteVector(), start, length);
    stream_.removeBlock(start, length);
    EXPECT_EQ(stream_.tell(), 20);
  }
  stream_.insert("new", kMax - 2, 0);
  EXPECT_EQ(stream_.tell(), 20);
  EXPECT_EQ(written(), before_);
  EXPECT_EQ(log_.text(), "");
}

/// A growth of the file, which the rest of the file meets in every way that the buffer can make a
/// difference for.
class FDFileStreamGrowth : public testing::TestWithParam<std::size_t> {
 protected:
  /// Calls `check` with each number of bytes to replace and each number of bytes behind them.
  template <typename Check>
  static void forEachLayout(Check check) {
    for (const std::size_t replaced : {0, 10, 3000}) {
      for (const std::size_t rest : {0, 1, 1023, 1024, 1025, 2048, 3071, 3072, 3073, 20000}) {
        SCOPED_TRACE(testing::Message() << replaced << " replaced before " << rest);
        check(replaced, rest);
      }
    }
  }
};

TEST_P(FDFileStreamGrowth, IsMadeByAnInsertThatShiftsTheRest) {
  forEachLayout([growth = GetParam()](std::size_t replaced, std::size_t rest) {
    const std::string before = patternOf(700 + replaced + rest);
    const std::string data = patternOf(growth + replaced, 2);
    const StreamFile file(before);
    {
      FDFileStream stream(file.open(), "", nullptr);
      stream.insert(vectorOf(data), 700, replaced);
      EXPECT_EQ(static_cast<std::size_t>(stream.tell()), before.size() + growth);
    }
    EXPECT_TRUE(file.bytes() == before.substr(0, 700) + data + before.substr(700 + replaced));
  });
}

TEST_P(FDFileStreamGrowth, IsTakenBackByAnInsertOfLess) {
  forEachLayout([growth = GetParam()](std::size_t replaced, std::size_t rest) {
    const std::string before = patternOf(700 + growth + replaced + rest);
    const std::string data = patternOf(replaced, 2);
    const StreamFile file(before);
    {
      FDFileStream stream(file.open(), "", nullptr);
      stream.insert(vectorOf(data), 700, growth + replaced);
      EXPECT_EQ(static_cast<std::size_t>(stream.tell()), before.size() - growth);
    }
    EXPECT_TRUE(file.bytes() ==
                before.substr(0, 700) + data + before.substr(700 + growth + replaced));
  });
}

INSTANTIATE_TEST_SUITE_P(AroundTheBuffer, FDFileStreamGrowth,
                         testing::Values(1, 1023, 1024, 1025, 2047, 2048, 2049, 3000, 5000, 70000),
                         [](const auto& growth) { return "By" + std::to_string(growth.param); });

}  // namespace
}  // namespace tagwriter::test

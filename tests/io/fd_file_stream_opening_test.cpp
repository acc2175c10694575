// How a file stream begins and ends: what it makes of the descriptor and of the path.
#include <fcntl.h>
#include <gtest/gtest.h>

#include "base/unique_fd.h"
#include "io/fd_file_stream.h"
#include "tests/io/stream_file.h"
#include "tests/support/descriptors.h"
#include "tests/support/log_capture.h"

namespace tagwriter::test {
namespace {

using TagLib::FDFileStream;

TEST(FDFileStreamOpening, WritesToADescriptorThatAllowsIt) {
  LogCapture log;
  const StreamFile file("0123456789");
  {
    FDFileStream stream(file.open(), file.path().c_str(), nullptr);
    EXPECT_TRUE(stream.isOpen());
    EXPECT_FALSE(stream.readOnly());
    stream.writeBlock("ab");
  }
  EXPECT_EQ(file.bytes(), "ab23456789");
  EXPECT_EQ(log.text(), "");
}

TEST(FDFileStreamOpening, FallsBackToReadingWhenTheDescriptorCannotBeWritten) {
  LogCapture log;
  const StreamFile file("0123456789");
  FDFileStream stream(file.open(O_RDONLY), file.path().c_str(), nullptr);
  EXPECT_TRUE(stream.isOpen());
  EXPECT_TRUE(stream.readOnly());
  EXPECT_EQ(stringOf(stream.readBlock(4)), "0123");
  EXPECT_EQ(log.text(), "");
}

TEST(FDFileStreamOpening, OnlyReadsWhenAskedTo) {
  LogCapture log;
  const StreamFile file("0123456789");
  FDFileStream stream(file.open(), file.path().c_str(), nullptr, true);
  EXPECT_TRUE(stream.isOpen());
  EXPECT_TRUE(stream.readOnly());
  EXPECT_EQ(stringOf(stream.readBlock(4)), "0123");
  EXPECT_EQ(log.text(), "");
}

TEST(FDFileStreamOpening, LeavesADescriptorThatCannotBeReadToTheCaller) {
  LogCapture log;
  const StreamFile file("0123456789");
  const UniqueFd descriptor(file.open(O_WRONLY));
  {
    const FDFileStream stream(descriptor.get(), "/music/a song.mp3", nullptr);
    EXPECT_FALSE(stream.isOpen());
    EXPECT_TRUE(stream.readOnly());
    EXPECT_EQ(log.text(), "Could not open file /music/a song.mp3");
  }
  EXPECT_TRUE(isOpen(descriptor.get()));
  EXPECT_EQ(log.text(), "Could not open file /music/a song.mp3");
}

TEST(FDFileStreamOpening, CannotReadAWriteOnlyDescriptorEither) {
  LogCapture log;
  const StreamFile file("0123456789");
  const UniqueFd descriptor(file.open(O_WRONLY));
  const FDFileStream stream(descriptor.get(), "x", nullptr, true);
  EXPECT_FALSE(stream.isOpen());
  EXPECT_EQ(log.text(), "Could not open file x");
}

TEST(FDFileStreamOpening, IsNotOpenOnANumberThatIsNoDescriptor) {
  LogCapture log;
  int closed;
  {
    const StreamFile file("0123456789");
    closed = UniqueFd(file.open()).get();
  }
  ASSERT_FALSE(isOpen(closed));
  EXPECT_FALSE(FDFileStream(closed, "closed", nullptr).isOpen());
  EXPECT_FALSE(FDFileStream(-1, "none", nullptr).isOpen());
  EXPECT_EQ(log.text(), "Could not open file closedCould not open file none");
}

TEST(FDFileStreamOpening, NamesAFileThatItCannotOpenInUtf8) {
  LogCapture log;
  const FDFileStream stream(-1, "/m/\xC3\xBC.mp3", nullptr);
  EXPECT_EQ(log.text(), "Could not open file /m/\xC3\x83\xC2\xBC.mp3");
}

TEST(FDFileStreamOpening, StartsAtTheBeginningWhereverTheDescriptorStood) {
  const StreamFile file("0123456789");
  const int descriptor = file.open();
  ASSERT_EQ(::lseek(descriptor, 5, SEEK_SET), 5);
  FDFileStream stream(descriptor, "", nullptr);
  EXPECT_EQ(stream.tell(), 0);
  EXPECT_EQ(stringOf(stream.readBlock(3)), "012");
}

TEST(FDFileStreamOpening, StartsAtTheBeginningWhenItOnlyReads) {
  const StreamFile file("0123456789");
  const int descriptor = file.open(O_RDONLY);
  ASSERT_EQ(::lseek(descriptor, 0, SEEK_END), 10);
  FDFileStream stream(descriptor, "", nullptr);
  EXPECT_EQ(stream.tell(), 0);
  EXPECT_EQ(stringOf(stream.readBlock(3)), "012");
}

TEST(FDFileStreamOpening, ClosesTheDescriptorAtItsEnd) {
  const StreamFile file("0123456789");
  for (const int flags : {O_RDWR, O_RDONLY}) {
    const std::size_t before = countDescriptors();
    const int descriptor = file.open(flags);
    {
      const FDFileStream stream(descriptor, "", nullptr);
      EXPECT_TRUE(isOpen(descriptor));
      EXPECT_EQ(countDescriptors(), before + 1) << "the descriptor is not duplicated";
    }
    EXPECT_FALSE(isOpen(descriptor));
    EXPECT_EQ(countDescriptors(), before);
  }
}

TEST(FDFileStreamOpening, WritesWhatIsPendingBeforeItCloses) {
  const StreamFile file("");
  {
    FDFileStream stream(file.open(), "", nullptr);
    stream.writeBlock("pending");
  }
  EXPECT_EQ(file.bytes(), "pending");
}

TEST(FDFileStreamOpening, NeverOpensThePath) {
  const StreamFile file("the descriptor's");
  const StreamFile other("the path's");
  {
    FDFileStream stream(file.open(), other.path().c_str(), nullptr);
    EXPECT_EQ(stringOf(stream.readBlock(100)), "the descriptor's");
    stream.seek(0);
    stream.writeBlock("THE");
  }
  EXPECT_EQ(file.bytes(), "THE descriptor's");
  EXPECT_EQ(other.bytes(), "the path's");
}

TEST(FDFileStreamName, IsThePathWhenThatIsAscii) {
  const StreamFile file("");
  const FDFileStream stream(file.open(), "/music/A song.flac", nullptr);
  EXPECT_STREQ(stream.name(), "/music/A song.flac");
}

TEST(FDFileStreamName, IsEncodedTwiceWhenThePathIsNotAscii) {
  const StreamFile file("");
  const FDFileStream stream(file.open(), "\xC3\xA9\xE2\x82\xAC.m4a", nullptr);
  EXPECT_STREQ(stream.name(), "\xC3\x83\xC2\xA9\xC3\xA2\xC2\x82\xC2\xAC.m4a");
}

TEST(FDFileStreamName, TakesBytesThatAreNoUtf8) {
  const StreamFile file("");
  const FDFileStream stream(file.open(), "\xFF\x80.wav", nullptr);
  EXPECT_STREQ(stream.name(), "\xC3\xBF\xC2\x80.wav");
}

TEST(FDFileStreamName, IsEmptyWithoutAPath) {
  const StreamFile file("");
  const FDFileStream stream(file.open(), nullptr, nullptr);
  EXPECT_TRUE(stream.isOpen());
  EXPECT_STREQ(stream.name(), "");
}

TEST(FDFileStreamName, IsTheStreamsOwnCopy) {
  const StreamFile file("");
  std::string path = "/music/first.mp3";
  const FDFileStream stream(file.open(), path.c_str(), nullptr);
  path.replace(7, 5, "OTHER");
  const char* name = stream.name();
  EXPECT_STREQ(name, "/music/first.mp3");
}

}  // namespace
}  // namespace tagwriter::test

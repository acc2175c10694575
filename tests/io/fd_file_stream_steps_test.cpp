// The steps in which a file stream moves the rest of a file: the calls that it makes on itself.
// They are the library's own steps, with buffers of the same size.
#include <gtest/gtest.h>
#include <tfilestream.h>

#include <string>

#include "io/fd_file_stream.h"
#include "tests/io/stream_file.h"

namespace tagwriter::test {
namespace {

using TagLib::ByteVector;
using TagLib::FDFileStream;

/// A stream that notes the calls, those that it makes on itself included.
template <typename Stream>
class Noting final : public Stream {
 public:
  using Stream::Stream;

  std::string notes;

  void writeBlock(const ByteVector& data) override {
    note("write " + std::to_string(data.size()));
    Stream::writeBlock(data);
  }
  void removeBlock(unsigned long start, unsigned long length) override {
    note("remove " + std::to_string(start) + " " + std::to_string(length));
    Stream::removeBlock(start, length);
  }
  void seek(long offset, TagLib::IOStream::Position position) override {
    note("seek " + std::to_string(offset) + (position == TagLib::IOStream::End ? " from end" : ""));
    Stream::seek(offset, position);
  }
  void clear() override {
    note("clear");
    Stream::clear();
  }
  void truncate(long length) override {
    note("truncate " + std::to_string(length));
    Stream::truncate(length);
  }

 private:
  void note(const std::string& call) { notes += call + "\n"; }
};

using OurStream = Noting<FDFileStream>;
using LibraryStream = Noting<TagLib::FileStream>;

TEST(FDFileStreamSteps, InsertReadsAWholeBufferAheadOfEachWrite) {
  const StreamFile file(patternOf(4000));
  OurStream stream(file.open(), "", nullptr);
  stream.insert(vectorOf(patternOf(3000, 2)), 50, 0);
  EXPECT_EQ(stream.notes,
            "seek 50\nseek 50\nwrite 3000\n"
            "seek 3122\nclear\nseek 3050\nwrite 3072\n"
            "seek 6194\nclear\nseek 6122\nwrite 878\n");
}

TEST(FDFileStreamSteps, InsertOfTheSameSizeSeeksAndWrites) {
  const StreamFile file(patternOf(4000));
  OurStream stream(file.open(), "", nullptr);
  stream.insert(vectorOf(patternOf(3000, 2)), 50, 3000);
  EXPECT_EQ(stream.notes, "seek 50\nwrite 3000\n");
}

TEST(FDFileStreamSteps, RemoveWritesPastTheReadOnlyCheckAndTruncatesLast) {
  const StreamFile file(patternOf(2000));
  OurStream stream(file.open(), "", nullptr);
  stream.removeBlock(100, 10);
  EXPECT_EQ(stream.notes,
            "remove 100 10\n"
            "seek 110\nseek 100\n"
            "seek 1134\nclear\nseek 1124\n"
            "seek 2000\nclear\nseek 1990\n"
            "truncate 1990\n");
}

TEST(FDFileStreamSteps, AreTheLibrarysForEveryInsert) {
  for (const std::size_t rest : {0, 1, 1000, 1024, 3000, 20000}) {
    for (const std::size_t size : {0, 1, 1023, 1024, 1025, 2048, 2049, 3000, 70000}) {
      for (const std::size_t replace : {0, 1, 1024, 1025, 3000}) {
        const StreamFile ours(patternOf(500 + rest));
        const StreamFile theirs(patternOf(500 + rest));
        OurStream stream(ours.open(), "", nullptr);
        LibraryStream library(theirs.path().c_str());
        stream.insert(vectorOf(patternOf(size)), 500, replace);
        library.insert(vectorOf(patternOf(size)), 500, replace);
        EXPECT_FALSE(library.notes.empty());
        EXPECT_EQ(stream.notes, library.notes) << rest << " " << size << " " << replace;
      }
    }
  }
}

TEST(FDFileStreamSteps, AreTheLibrarysForEveryRemoval) {
  for (const std::size_t rest : {0, 1, 1023, 1024, 1025, 20000}) {
    for (const std::size_t length : {0, 1, 1024, 5000, 70000}) {
      const StreamFile ours(patternOf(500 + rest));
      const StreamFile theirs(patternOf(500 + rest));
      OurStream stream(ours.open(), "", nullptr);
      LibraryStream library(theirs.path().c_str());
      stream.removeBlock(500, length);
      library.removeBlock(500, length);
      EXPECT_FALSE(library.notes.empty());
      EXPECT_EQ(stream.notes, library.notes) << rest << " " << length;
    }
  }
}

TEST(FDFileStreamSteps, AreTheLibrarysForEveryRead) {
  for (const std::size_t length : {0, 1, 1023, 1024, 1025, 5000}) {
    const StreamFile ours(patternOf(3000));
    const StreamFile theirs(patternOf(3000));
    OurStream stream(ours.open(), "", nullptr);
    LibraryStream library(theirs.path().c_str());
    EXPECT_EQ(stream.readBlock(length), library.readBlock(length));
    EXPECT_EQ(stream.notes, library.notes) << length;
  }
}

}  // namespace
}  // namespace tagwriter::test

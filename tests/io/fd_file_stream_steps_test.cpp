// The steps in which FDFileStream moves the rest of a file: the virtual calls that it makes on
// itself. They are the same as in TagLib's own stream, with buffers of the same size.
#include <gtest/gtest.h>
#include <tfilestream.h>

#include "io/fd_file_stream.h"
#include "tests/io/stream_file.h"

namespace tagwriter::test {
namespace {

using TagLib::ByteVector;
using TagLib::FDFileStream;

/// Records the calls, including those that the stream makes on itself.
template <typename Stream>
class Recording final : public Stream {
 public:
  using Stream::Stream;

  std::string calls;

  void writeBlock(const ByteVector& data) override {
    record("write " + std::to_string(data.size()));
    Stream::writeBlock(data);
  }
  void removeBlock(TagLib::StreamStart start, TagLib::StreamSize length) override {
    record("remove " + std::to_string(start) + " " + std::to_string(length));
    Stream::removeBlock(start, length);
  }
  void seek(TagLib::StreamOffset offset, TagLib::IOStream::Position position) override {
    record("seek " + std::to_string(offset) +
           (position == TagLib::IOStream::End ? " from end" : ""));
    Stream::seek(offset, position);
  }
  void clear() override {
    record("clear");
    Stream::clear();
  }
  void truncate(TagLib::StreamOffset length) override {
    record("truncate " + std::to_string(length));
    Stream::truncate(length);
  }

 private:
  void record(const std::string& call) { calls += call + "\n"; }
};

using OurStream = Recording<FDFileStream>;

TEST(FDFileStreamSteps, InsertReadsAWholeBufferAheadOfEachWrite) {
  const StreamFile file(patternOf(4000));
  OurStream stream(file.open(), "", nullptr);
  stream.insert(vectorOf(patternOf(3000, 2)), 50, 0);
  EXPECT_EQ(stream.calls,
            "seek 50\nseek 50\nwrite 3000\n"
            "seek 3122\nclear\nseek 3050\nwrite 3072\n"
            "seek 6194\nclear\nseek 6122\nwrite 878\n");
}

TEST(FDFileStreamSteps, RemoveWritesWithoutWriteBlockAndTruncatesLast) {
  const StreamFile file(patternOf(2000));
  OurStream stream(file.open(), "", nullptr);
  stream.removeBlock(100, 10);
  EXPECT_EQ(stream.calls,
            "remove 100 10\n"
            "seek 110\nseek 100\n"
            "seek 1134\nclear\nseek 1124\n"
            "seek 2000\nclear\nseek 1990\n"
            "truncate 1990\n");
}

/// Makes the same call on both streams, over files of 500 + `rest` bytes.
template <typename Call>
void expectEqualSteps(std::size_t rest, const Call& call) {
  const StreamFile ourFile(patternOf(500 + rest));
  const StreamFile theirFile(patternOf(500 + rest));
  {
    OurStream ours(ourFile.open(), "", nullptr);
    Recording<TagLib::FileStream> theirs(theirFile.path().c_str());
    call(ours);
    call(theirs);
    EXPECT_EQ(ours.calls, theirs.calls);
  }
  EXPECT_TRUE(ourFile.bytes() == theirFile.bytes());
}

TEST(FDFileStreamSteps, AreThoseOfTagLibsOwnStream) {
  for (const std::size_t rest : {0, 1, 1000, 1023, 1024, 1025, 3000, 3072, 20000}) {
    for (const std::size_t size : {0, 1, 1023, 1024, 1025, 2048, 2049, 3000, 5000, 70000}) {
      for (const std::size_t replace : {0, 1, 1024, 1025, 3000}) {
        SCOPED_TRACE(testing::Message() << size << " for " << replace << " before " << rest);
        expectEqualSteps(rest, [&](auto& s) { s.insert(vectorOf(patternOf(size)), 500, replace); });
      }
      SCOPED_TRACE(testing::Message() << size << " of " << rest);
      expectEqualSteps(rest, [&](auto& s) { s.removeBlock(500, size); });
      expectEqualSteps(rest, [&](auto& s) { s.readBlock(size); });
    }
  }
}

}  // namespace
}  // namespace tagwriter::test

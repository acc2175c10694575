// The staged stream against FDFileStream: the same answers, and after commit() the same file.
#include "io/staged_stream.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <random>
#include <string>

#include "io/lost_writes.h"
#include "tests/io/stream_calls.h"
#include "tests/support/log_capture.h"
#include "tests/support/size_limit.h"

namespace tagwriter::test {
namespace {

using TagLib::FDFileStream;
using TagLib::StagedStream;

constexpr std::uint64_t kMuch = 1 << 30;

/// A file with a staged stream over it.
class Staged {
 public:
  explicit Staged(const std::string& bytes, std::uint64_t maxGrowth = kMuch, int flags = O_RDWR)
      : content(bytes), file_(content.open(flags), "name", nullptr), stream(file_, maxGrowth) {}

  StreamFile content;

 private:
  FDFileStream file_;

 public:
  StagedStream stream;
};

/// All that a stream shows.
std::string contentsOf(IOStream& stream) {
  const long position = stream.tell();
  stream.seek(0);
  const std::string bytes = stringOf(stream.readBlock(static_cast<unsigned long>(stream.length())));
  stream.seek(position);
  return bytes;
}

TEST(StagedStream, AgreesWithFDFileStream) {
  for (unsigned seed = 1; seed <= 300 && !testing::Test::HasFailure(); ++seed) {
    Caller caller(seed);
    StreamModel model(patternOf(caller.below(3) == 0 ? 90000 : caller.size(), seed));
    Staged staged(model.bytes());
    const StreamFile otherFile(model.bytes());
    FDFileStream other(otherFile.open(), "name", nullptr);
    for (unsigned long i = 0, calls = 1 + caller.below(300); i < calls; ++i) {
      const Call call = caller.next(model);
      if (call.isOutOfReach) continue;
      SCOPED_TRACE(testing::Message() << "seed " << seed << ", call " << i << ": " << call.name);
      call.make(model);
      ASSERT_TRUE(call.make(staged.stream) == call.make(other));
      ASSERT_EQ(staged.stream.tell(), other.tell());
      if (i % 16 == 0) {
        ASSERT_TRUE(contentsOf(staged.stream) == contentsOf(other));
      }
    }
    ASSERT_TRUE(staged.stream.commit()) << seed;
    other.seek(0);  // writes what is pending
    ASSERT_TRUE(staged.content.bytes() == otherFile.bytes()) << seed;
  }
}

TEST(StagedStream, TouchesNothingBeforeTheCommit) {
  const std::string before = patternOf(5000);
  Staged staged(before);
  staged.stream.insert(vectorOf("new"), 10, 0);
  staged.stream.removeBlock(1000, 2000);
  staged.stream.truncate(100);
  EXPECT_EQ(staged.content.bytes(), before);
}

TEST(StagedStream, WritesNothingWhereNothingDiffers) {
  const std::string before = patternOf(5000);
  Staged staged(before);
  const timespec longAgo[] = {{1, 0}, {1, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, staged.content.path().c_str(), longAgo, 0), 0);
  staged.stream.insert(vectorOf(before.substr(100, 900)), 100, 900);
  staged.stream.removeBlock(2000, 500);
  staged.stream.insert(vectorOf(before.substr(2000, 500)), 2000, 0);
  staged.stream.insert(vectorOf("beyond"), 5000, 0);
  staged.stream.truncate(5000);
  EXPECT_TRUE(staged.stream.commit());
  struct stat status {};
  ASSERT_EQ(::stat(staged.content.path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mtim.tv_sec, 1);
}

TEST(StagedStream, KeepsManyPiecesInOrder) {
  std::string expected = patternOf(1 << 20);
  Staged staged(expected);
  for (std::size_t at = 0; at + 8 < expected.size(); at += 40) {
    for (int i = 0; i < 8; ++i) expected[at + i] ^= 1;
    staged.stream.seek(static_cast<long>(at));
    staged.stream.writeBlock(vectorOf(expected.substr(at, 8)));
  }
  expected.insert(0, "front");
  staged.stream.insert(vectorOf("front"), 0, 0);
  EXPECT_TRUE(contentsOf(staged.stream) == expected);
  EXPECT_TRUE(staged.stream.commit());
  EXPECT_TRUE(staged.content.bytes() == expected);
}

TEST(StagedStream, MovesMegabytesInBothDirections) {
  for (unsigned seed = 1; seed <= 20 && !testing::Test::HasFailure(); ++seed) {
    std::mt19937 random(seed);
    const auto below = [&random](std::size_t limit) { return random() % limit; };
    std::string expected = patternOf(1 + below(6 << 20), seed);
    Staged staged(expected);
    for (std::size_t i = 0, edits = 1 + below(8); i < edits; ++i) {
      const std::size_t start = below(expected.size() + 1);
      const std::size_t replaced = std::min(below(2) * below(2 << 20), expected.size() - start);
      const std::string bytes = patternOf(below(2) * below(2 << 20), seed * 100 + i);
      expected.replace(start, replaced, bytes);
      staged.stream.insert(vectorOf(bytes), start, replaced);
    }
    ASSERT_TRUE(staged.stream.commit()) << seed;
    ASSERT_TRUE(staged.content.bytes() == expected) << seed;
  }
}

TEST(StagedStream, RefusesWhatNoFileCanBe) {
  struct Case {
    const char* name;
    void (*call)(IOStream& stream);
  };
  constexpr Case kCases[] = {
      {"growth", [](IOStream& s) { s.insert(vectorOf(patternOf(101)), 0, 0); }},
      {"a gap", [](IOStream& s) { s.seek(2000), s.writeBlock(vectorOf("x")); }},
      {"removal far beyond the end", [](IOStream& s) { s.removeBlock(1UL << 40, 1); }},
      {"an offset that is none", [](IOStream& s) { s.insert(vectorOf("x"), 1UL << 63, 0); }},
      {"a range that is none", [](IOStream& s) { s.removeBlock(1, ~0UL); }},
      {"a negative length", [](IOStream& s) { s.truncate(-1); }},
  };
  for (const Case& refused : kCases) {
    SCOPED_TRACE(refused.name);
    const std::string before = patternOf(1000);
    Staged staged(before, 100);
    staged.stream.insert(vectorOf("more"), 0, 0);
    EXPECT_FALSE(staged.stream.refused());
    refused.call(staged.stream);
    EXPECT_TRUE(staged.stream.refused());
    EXPECT_TRUE(staged.stream.readBlock(10).isEmpty());
    EXPECT_FALSE(staged.stream.commit());
    EXPECT_EQ(staged.content.bytes(), before);
  }
}

TEST(StagedStream, RefusesAFileWhoseLengthCannotBeTold) {
  const StreamFile content(patternOf(1000));
  const int fd = content.open();
  FDFileStream file(fd, "name", nullptr);
  ::close(fd);
  StagedStream stream(file, kMuch);
  EXPECT_TRUE(stream.refused());
  EXPECT_FALSE(stream.commit());
}

TEST(StagedStream, RefusesAPlanThatTakesTooMuchMemory) {
  constexpr unsigned kSize = 1 << 20;
  Staged staged(patternOf(1000), kSize);
  const auto bytes = vectorOf(patternOf(kSize));
  unsigned edits = 0;
  for (; edits < 1000 && !staged.stream.refused(); ++edits) {
    staged.stream.insert(bytes, 100, 0);
    staged.stream.removeBlock(100, kSize);
  }
  EXPECT_NEAR(edits, (1 << 28) / kSize, 3);
  EXPECT_FALSE(staged.stream.commit());
}

TEST(StagedStream, LeavesTheFileAsItWasWhereThereIsNoRoom) {
  const std::string before = patternOf(3 << 20);
  for (const rlim_t room : {0, 1, 4096, (1 << 20) + 7}) {
    for (const std::size_t growth : {2000U, 2U << 20}) {
      if (room >= growth) continue;
      Staged staged(before);
      staged.stream.insert(vectorOf(patternOf(growth)), 100, 0);
      staged.stream.seek(1 << 20);
      staged.stream.writeBlock(vectorOf("in the middle"));
      const std::uint64_t lost = lostWrites();
      {
        const SizeLimit limit(before.size() + room);
        EXPECT_FALSE(staged.stream.commit()) << room << " for " << growth;
      }
      EXPECT_TRUE(staged.content.bytes() == before) << room << " for " << growth;
      EXPECT_EQ(lostWrites(), lost);
    }
  }
}

TEST(StagedStream, SaysWhatFDFileStreamSays) {
  for (const int flags : {O_RDONLY, O_WRONLY}) {
    LogCapture log;
    Staged staged(patternOf(100), kMuch, flags);
    const StreamFile otherFile(patternOf(100));
    const auto talk = [](IOStream& s) {
      s.readBlock(10);
      s.writeBlock(vectorOf("x"));
      s.insert(vectorOf("xx"), 3, 1);
      s.seek(0, static_cast<IOStream::Position>(3));
      s.length();
      s.truncate(5);
    };
    talk(staged.stream);
    staged.stream.commit();
    const std::string ours = log.text();
    UniqueFd fd(otherFile.open(flags));
    FDFileStream other(fd.get(), "name", nullptr);
    if (other.isOpen()) (void)fd.release();
    talk(other);
    EXPECT_EQ(log.text(), ours + ours) << flags;
    EXPECT_NE(ours, "");
  }
}

}  // namespace
}  // namespace tagwriter::test

// Long random sequences of calls on FDFileStream, on TagLib's own stream and on a model of both:
// all answers, positions and bytes must be equal.
#include <gtest/gtest.h>
#include <tfilestream.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <random>

#include "io/fd_file_stream.h"
#include "tests/io/stream_model.h"
#include "tests/support/log_capture.h"

namespace tagwriter::test {
namespace {

using TagLib::FDFileStream;
using TagLib::IOStream;

struct Call {
  std::string name;
  std::function<std::string(IOStream&)> make;  ///< returns what the stream answered
  bool isOutOfReach = false;
};

/// Makes up calls with sizes and positions around the limits of the buffer and of the file.
class Caller {
 public:
  explicit Caller(unsigned seed) : random_(seed) {}

  unsigned long below(unsigned long limit) { return random_() % limit; }

  unsigned long size() {
    static constexpr unsigned long kSizes[] = {0,    1,    2,    100,  1023, 1024, 1025,
                                               2047, 2048, 2049, 4095, 4096, 4097, 5000};
    if (below(40) == 0) return 70000;
    if (below(4) == 0) return below(3000);
    return kSizes[below(std::size(kSizes))];
  }

  /// A position in or near a file of `length` bytes.
  unsigned long positionIn(unsigned long length) {
    switch (below(6)) {
      case 0:
        return length;
      case 1:
        return length + size();
      case 2:
        return length - std::min(length, size());
      case 3:
        return std::min(length, size());
      default:
        return below(length + 1);
    }
  }

  Call next(StreamModel& model) {
    const auto length = static_cast<unsigned long>(model.length());
    if (length > 40'000) return truncate(size());  // keeps the test fast
    if (below(50) == 0) return outOfReach();
    switch (below(16)) {
      case 0:
        return truncate(positionIn(length));
      case 1:
        return {"length()", [](IOStream& s) { return std::to_string(s.length()); }};
      case 2:
      case 3:
        return seek(model);
      case 4:
      case 5:
        return remove(positionIn(length), size());
      case 6:
      case 7:
      case 8: {
        const std::string data = patternOf(size(), random_());
        return insert(data, positionIn(length), below(4) == 0 ? data.size() : size());
      }
      case 9:
      case 10:
      case 11:
        return write(patternOf(size(), random_()));
      default:
        return read(size());
    }
  }

 private:
  static std::string nameOf(const char* operation, unsigned long a, unsigned long b = 0,
                            unsigned long c = 0) {
    return testing::PrintToString(std::tuple(operation, a, b, c));
  }

  static Call read(unsigned long length) {
    return {nameOf("readBlock", length), [=](IOStream& s) {
              const std::string data = stringOf(s.readBlock(length));
              if (data.size() < length) s.clear();
              return data;
            }};
  }
  static Call write(const std::string& data) {
    return {nameOf("writeBlock", data.size()),
            [=](IOStream& s) { return s.writeBlock(vectorOf(data)), ""; }};
  }
  static Call insert(const std::string& data, unsigned long start, unsigned long replace) {
    return {nameOf("insert", data.size(), start, replace),
            [=](IOStream& s) { return s.insert(vectorOf(data), start, replace), ""; }};
  }
  static Call remove(unsigned long start, unsigned long length) {
    return {nameOf("removeBlock", start, length),
            [=](IOStream& s) { return s.removeBlock(start, length), ""; }};
  }
  static Call truncate(unsigned long length) {
    return {nameOf("truncate", length),
            [=](IOStream& s) { return s.truncate(static_cast<long>(length)), ""; }};
  }

  Call seek(StreamModel& model) {
    const auto length = static_cast<unsigned long>(model.length());
    const long target = below(20) == 0 ? -1 : static_cast<long>(positionIn(length));
    const auto from = static_cast<IOStream::Position>(below(3));
    const long offset = target - (from == IOStream::Current ? model.tell()
                                  : from == IOStream::End   ? model.length()
                                                            : 0);
    return {nameOf("seek", static_cast<unsigned long>(offset), from),
            [=](IOStream& s) { return s.seek(offset, from), ""; }};
  }

  /// An edit of a range that starts or ends at an offset that no file can have.
  Call outOfReach() {
    unsigned long start = (1UL << 63) + below(1UL << 63);
    unsigned long length = size();
    if (below(2) == 0) std::swap(start, length);
    Call call = below(2) == 0 ? insert(patternOf(size()), start, length) : remove(start, length);
    call.isOutOfReach = true;
    return call;
  }

  std::mt19937_64 random_;
};

/// Runs one sequence and compares the files after each `period`th call, which flushes the streams;
/// in between they keep pending bytes.
void runSequence(unsigned seed, int calls, int period) {
  const LogCapture log;
  Caller caller(seed);
  StreamModel model(patternOf(caller.size(), seed));
  const StreamFile ourFile(model.bytes());
  const StreamFile theirFile(model.bytes());
  FDFileStream ours(ourFile.open(), "", nullptr);
  TagLib::FileStream theirs(theirFile.path().c_str());

  for (int i = 0; i < calls; ++i) {
    const Call call = caller.next(model);
    SCOPED_TRACE(testing::Message() << "seed " << seed << ", call " << i << ": " << call.name);
    const std::string answer = call.make(model);
    ASSERT_TRUE(call.make(ours) == answer);
    ASSERT_EQ(ours.tell(), model.tell());
    // TagLib's own stream makes such an edit at its current position.
    if (!call.isOutOfReach) {
      ASSERT_TRUE(call.make(theirs) == answer);
      ASSERT_EQ(theirs.tell(), model.tell());
    }
    if (i % period != 0 && i != calls - 1) continue;
    std::fflush(nullptr);
    ASSERT_TRUE(ourFile.bytes() == model.bytes());
    ASSERT_TRUE(theirFile.bytes() == model.bytes());
  }
  EXPECT_EQ(log.text(), "");
}

TEST(FDFileStreamModel, AgreesWithBytesInMemory) {
  for (unsigned seed = 1; seed <= 40 && !HasFailure(); ++seed) {
    runSequence(seed, 500, seed % 2 ? 1 : 20);
  }
}

}  // namespace
}  // namespace tagwriter::test

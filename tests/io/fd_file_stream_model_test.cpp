// Long random sequences of calls on the file stream, on the library's own and on a model of both:
// they have to agree on every answer and position, and on the file's bytes.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <tfilestream.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <random>
#include <string>

#include "base/unique_fd.h"
#include "io/fd_file_stream.h"
#include "tests/io/stream_file.h"
#include "tests/io/stream_model.h"
#include "tests/support/log_capture.h"

namespace tagwriter::test {
namespace {

using Kind = StreamCall::Kind;
using TagLib::FDFileStream;
using TagLib::IOStream;

/// Makes up calls whose sizes and positions lie where a buffer or the file begins or ends.
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

  /// A position in or around a file of `length` bytes.
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

  StreamCall next(const StreamModel& model) {
    // Keeps the file small: the sizes of interest are those of the buffers.
    constexpr unsigned long kTooLong = 100000;
    const unsigned long length = model.bytes().size();
    if (length > kTooLong) return {.kind = Kind::kTruncate, .offset = static_cast<long>(size())};

    static constexpr Kind kKinds[] = {
        Kind::kReadBlock,   Kind::kReadBlock,   Kind::kReadBlock, Kind::kWriteBlock,
        Kind::kWriteBlock,  Kind::kWriteBlock,  Kind::kInsert,    Kind::kInsert,
        Kind::kInsert,      Kind::kRemoveBlock, Kind::kSeek,      Kind::kSeek,
        Kind::kRemoveBlock, Kind::kTell,        Kind::kLength,    Kind::kTruncate,
        Kind::kClear,
    };
    StreamCall call{.kind = kKinds[below(std::size(kKinds))]};
    switch (call.kind) {
      case Kind::kReadBlock:
        call.length = size();
        break;
      case Kind::kWriteBlock:
        call.data = patternOf(size(), random_());
        break;
      case Kind::kInsert:
        call.data = patternOf(size(), random_());
        call.start = positionIn(length);
        call.length = below(4) == 0 ? call.data.size() : size();
        break;
      case Kind::kRemoveBlock:
        call.start = positionIn(length);
        call.length = size();
        break;
      case Kind::kSeek:
        seekIn(model, call);
        break;
      case Kind::kTruncate:
        call.offset = below(20) == 0 ? -1 : static_cast<long>(positionIn(length));
        break;
      default:
        break;
    }
    return call;
  }

  /// An edit of a range of which one end lies where no file reaches.
  StreamCall outOfReach() {
    const bool atStart = below(2) == 0;
    const unsigned long far = (1UL << 63) + below(1UL << 63);
    return {.kind = below(2) == 0 ? Kind::kInsert : Kind::kRemoveBlock,
            .data = patternOf(size(), random_()),
            .start = atStart ? far : size(),
            .length = atStart ? size() : far};
  }

 private:
  void seekIn(const StreamModel& model, StreamCall& call) {
    const auto length = static_cast<long>(model.bytes().size());
    const long target = below(20) == 0 ? -1 : static_cast<long>(positionIn(model.bytes().size()));
    call.position = static_cast<IOStream::Position>(below(3));
    call.offset = target - (call.position == IOStream::Current ? model.position()
                            : call.position == IOStream::End   ? length
                                                               : 0);
  }

  std::mt19937_64 random_;
};

/// A real stream over a file of its own.
class Subject {
 public:
  template <typename MakeStream>
  Subject(std::string name, const std::string& bytes, MakeStream makeStream)
      : name_(std::move(name)),
        file_(bytes),
        view_(openFile(file_.path(), O_RDONLY)),
        stream_(makeStream(file_)) {}

  /// Makes the call and compares what comes of it with the model that has made it already.
  testing::AssertionResult agrees(const StreamCall& call, const StreamAnswer& expected,
                                  const StreamModel& model) {
    const StreamAnswer answer = perform(call, *stream_);
    if (answer.number != expected.number) {
      return differs(call) << "answer " << answer.number << ", not " << expected.number;
    }
    if (answer.bytes != expected.bytes) {
      return differs(call) << "answer of " << answer.bytes.size() << " bytes, not "
                           << expected.bytes.size();
    }
    if (stream_->tell() != model.position()) {
      return differs(call) << "position " << stream_->tell() << ", not " << model.position();
    }
    return testing::AssertionSuccess();
  }

  /// Compares the file with the model's bytes. Nothing may be pending in the stream.
  testing::AssertionResult holds(const StreamModel& model) {
    const std::string& expected = model.bytes();
    std::string bytes(expected.size() + 1, '\0');
    const ssize_t count = ::pread(view_.get(), bytes.data(), bytes.size(), 0);
    bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    if (bytes == expected) return testing::AssertionSuccess();
    std::size_t same = 0;
    while (same < bytes.size() && same < expected.size() && bytes[same] == expected[same]) ++same;
    return testing::AssertionFailure() << name_ << ": " << bytes.size() << " bytes or more, not "
                                       << expected.size() << "; they differ from " << same;
  }

 private:
  testing::AssertionResult differs(const StreamCall& call) const {
    return testing::AssertionFailure() << name_ << ": " << call << ": ";
  }

  std::string name_;
  StreamFile file_;
  UniqueFd view_;
  std::unique_ptr<IOStream> stream_;
};

/// Runs one sequence. Each `period`th call is followed by a look into the files, for which pending
/// bytes are written; in between the streams keep what they hold back.
void runSequence(unsigned seed, int calls, int period) {
  LogCapture log;
  std::string refusals;
  Caller caller(seed);
  StreamModel model(patternOf(caller.size(), seed));
  Subject ours("our stream", model.bytes(), [](const StreamFile& file) {
    return std::make_unique<FDFileStream>(file.open(), file.path().c_str(), nullptr);
  });
  Subject library("library's stream", model.bytes(), [](const StreamFile& file) {
    return std::make_unique<TagLib::FileStream>(file.path().c_str());
  });

  for (int i = 0; i < calls; ++i) {
    SCOPED_TRACE(testing::Message() << "seed " << seed << ", period " << period << ", call " << i);
    const bool outOfReach = caller.below(50) == 0;
    const StreamCall call = outOfReach ? caller.outOfReach() : caller.next(model);
    if (call.kind == Kind::kTruncate && call.offset < 0) {
      refusals += "FDFileStream::truncate() -- Coundn't truncate the file 22 Invalid argument.\n";
    }
    const StreamAnswer expected = model.perform(call);
    ASSERT_TRUE(ours.agrees(call, expected, model));
    // For the library a position that turns negative is a seek that fails, and it goes on to edit
    // the file wherever it stands.
    if (!outOfReach) {
      ASSERT_TRUE(library.agrees(call, expected, model));
    }
    if (i % period != 0 && i != calls - 1) continue;
    std::fflush(nullptr);
    ASSERT_TRUE(ours.holds(model)) << call;
    ASSERT_TRUE(library.holds(model)) << call;
  }
  EXPECT_EQ(log.text(), refusals) << "seed " << seed;
}

TEST(FDFileStreamModel, AgreesOnTheBytesAfterEveryCall) {
  for (unsigned seed = 1; seed <= 30; ++seed) {
    runSequence(seed, 500, 1);
    if (HasFailure()) return;
  }
}

TEST(FDFileStreamModel, AgreesWhenTheBytesStayPendingForAWhile) {
  for (unsigned seed = 1001; seed <= 1030; ++seed) {
    runSequence(seed, 500, 20);
    if (HasFailure()) return;
  }
}

}  // namespace
}  // namespace tagwriter::test

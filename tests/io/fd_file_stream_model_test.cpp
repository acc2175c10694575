// Long random sequences of calls on FDFileStream, on TagLib's own stream and on a model of both:
// all answers, positions and bytes must be equal.
#include <gtest/gtest.h>
#include <tfilestream.h>

#include <cstdio>

#include "io/fd_file_stream.h"
#include "tests/io/stream_calls.h"
#include "tests/support/log_capture.h"

namespace tagwriter::test {
namespace {

using TagLib::FDFileStream;

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

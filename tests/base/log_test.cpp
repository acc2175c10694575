#include "base/log.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/log_capture.h"

namespace tagwriter::test {
namespace {

TEST(Log, EndsALineOnce) {
  LogCapture log;
  logLine("%s exception: %d", "writeTagToFile", 7);
  EXPECT_EQ(log.text(), "writeTagToFile exception: 7\n");
}

TEST(Log, EndsAnEmptyLine) {
  LogCapture log;
  const std::string empty;
  logLine("%s", empty.c_str());
  EXPECT_EQ(log.text(), "\n");
}

TEST(Log, KeepsALineEndThatTheTextBrings) {
  LogCapture log;
  logLine("first\nsecond\n");
  EXPECT_EQ(log.text(), "first\nsecond\n\n");
}

TEST(Log, LeavesTextAsItStands) {
  LogCapture log;
  logText("%d%%", 50);
  logText(" done");
  logText(".\n");
  EXPECT_EQ(log.text(), "50% done.\n");
}

TEST(Log, DeliversEachTextWhole) {
  std::vector<std::string> pieces;
  LogSink previous = setLogSink([&](std::string_view text) { pieces.emplace_back(text); });
  logLine("a %s", "b");
  logText("c %s", "d");
  setLogSink(previous);
  EXPECT_EQ(pieces, (std::vector<std::string>{"a b\n", "c d"}));
}

TEST(Log, NeverCutsALongText) {
  for (const std::size_t size : {127u, 128u, 1023u, 1024u, 4096u, 1000000u}) {
    const std::string text(size, 'x');
    LogCapture log;
    logLine("[%s]", text.c_str());
    logText("[%s]", text.c_str());
    EXPECT_TRUE(log.text() == "[" + text + "]\n[" + text + "]") << size;
  }
}

TEST(Log, PassesBytesThatAreNoUtf8) {
  LogCapture log;
  logLine("Could not open file %s", "\xFF\xFE\x80");
  EXPECT_EQ(log.text(), "Could not open file \xFF\xFE\x80\n");
}

TEST(Log, ShowsANullString) {
  LogCapture log;
  const char* volatile null = nullptr;  // volatile: the compiler would warn about it
  logLine("path %s", null);
  EXPECT_EQ(log.text(), "path (null)\n");
}

TEST(Log, GivesBackTheSinkThatWasThere) {
  std::string first;
  std::string second;
  LogSink original = setLogSink([&](std::string_view text) { first += text; });
  LogSink previous = setLogSink([&](std::string_view text) { second += text; });
  logText("to the second");
  previous(", by hand to the first");
  setLogSink(previous);
  logText(", again");
  setLogSink(original);
  EXPECT_EQ(second, "to the second");
  EXPECT_EQ(first, ", by hand to the first, again");
}

TEST(Log, CapturesNest) {
  LogCapture outer;
  logText("before");
  {
    LogCapture inner;
    logText("within");
    EXPECT_EQ(inner.text(), "within");
  }
  logText(" after");
  EXPECT_EQ(outer.text(), "before after");
}

/// Puts standard error in place of whatever sink there is.
class DefaultSink {
 public:
  DefaultSink() : previous_(setLogSink({})) {}
  ~DefaultSink() { setLogSink(previous_); }

 private:
  LogSink previous_;
};

TEST(Log, GoesToStandardErrorByDefault) {
  const DefaultSink standardError;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  logText("text without an end, ");
  logLine("line %d", 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "text without an end, line 1\n");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(Log, LeavesStandardErrorAloneWhenThereIsASink) {
  testing::internal::CaptureStderr();
  {
    LogCapture log;
    logLine("caught");
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace tagwriter::test

#include "base/log.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tagwriter::test {
namespace {

TEST(Log, HandsEachTextWholeToTheSink) {
  const std::string longText(1'000'000, 'x');
  const char* volatile null = nullptr;  // volatile: the compiler would warn about it
  std::vector<std::string> texts;
  LogSink previous = setLogSink([&](std::string_view text) { texts.emplace_back(text); });
  logLine("%s exception: %d", "writeTagToFile", 7);
  logLine("first\nsecond\n");
  logLine("path %s", null);
  logLine("\xFF\xFE %s", longText.c_str());
  logText("%d%%", 50);
  logText("%s.\n", longText.c_str());
  setLogSink(previous);
  EXPECT_EQ(texts, (std::vector<std::string>{"writeTagToFile exception: 7\n", "first\nsecond\n\n",
                                             "path (null)\n", "\xFF\xFE " + longText + "\n", "50%",
                                             longText + ".\n"}));
}

TEST(Log, GoesToStandardErrorWithoutASink) {
  std::string caught;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  LogSink original = setLogSink({});
  logText("text without an end, ");
  logLine("line %d", 1);
  setLogSink([&](std::string_view text) { caught += text; });
  logText("to the sink");
  LogSink sink = setLogSink(original);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "text without an end, line 1\n");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  ASSERT_TRUE(sink) << "the sink that is replaced is returned";
  sink(", by hand");
  EXPECT_EQ(caught, "to the sink, by hand");
}

}  // namespace
}  // namespace tagwriter::test

#include "cli/printable.h"

#include <gtest/gtest.h>

namespace tagwriter::test {
namespace {

TEST(Printable, LeavesTextAlone) {
  for (const char* text :
       {"", "Morgen", "\tZo\xc3\xab \xe2\x99\xaa", "\xc2\xa0", "T\xe4", "\xc2"}) {
    EXPECT_EQ(printable(text), text);
    EXPECT_EQ(printable(text, true), text);
  }
}

TEST(Printable, WritesOutWhatATerminalWouldObey) {
  EXPECT_EQ(printable("\x1b]0;title\x07"), "\\x1b]0;title\\x07");
  EXPECT_EQ(printable("a\rb\x7f"), "a\\x0db\\x7f");
  EXPECT_EQ(printable("\xc2\x9b"
                      "31m"),
            "\\x9b31m");
  EXPECT_EQ(printable(std::string("a\0b", 3)), "a\\x00b");
}

TEST(Printable, KeepsLinesOnlyWhenAsked) {
  EXPECT_EQ(printable("a\nb"), "a\\x0ab");
  EXPECT_EQ(printable("a\nb\x1b", true), "a\nb\\x1b");
}

}  // namespace
}  // namespace tagwriter::test

#include <gtest/gtest.h>

#include "cli/progress.h"

namespace tagwriter::test {
namespace {

const std::string kHalf = "[###############---------------] ";

TEST(ProgressText, CountsAndTellsTheSpeedAndTheTimeLeft) {
  EXPECT_EQ(progressText(5, 10, 2), kHalf + "5/10  2.5 files/s  0:02 left");
  EXPECT_EQ(progressText(1, 2, 61), kHalf + "1/2  0.0 files/s  1:01 left");
  EXPECT_EQ(progressText(50, 100, 600), kHalf + "50/100  0.1 files/s  10:00 left");
  EXPECT_EQ(progressText(1000, 2000, 0.5), kHalf + "1000/2000  2000.0 files/s  0:01 left");
}

TEST(ProgressText, TellsNoSpeedBeforeItIsKnown) {
  EXPECT_EQ(progressText(0, 10, 3), "[------------------------------] 0/10");
  EXPECT_EQ(progressText(5, 10, 0), kHalf + "5/10");
}

TEST(ProgressText, IsFullAtTheEndAndNotBefore) {
  EXPECT_EQ(progressText(7, 7, 7), "[##############################] 7/7  1.0 files/s  0:00 left");
  EXPECT_EQ(progressText(999, 1000, 999),
            "[#############################-] 999/1000  1.0 files/s  0:01 left");
  EXPECT_EQ(progressText(0, 0, 0), "[##############################] 0/0");
}

}  // namespace
}  // namespace tagwriter::test

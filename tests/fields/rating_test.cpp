// The scales of a rating: every step, and both sides of it.
#include "tagging/rating.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace tagwriter::test {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr std::int32_t kMin32 = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMax32 = std::numeric_limits<std::int32_t>::max();

double justBelow(double value) {
  return std::nextafter(value, -kInfinity);
}
double justAbove(double value) {
  return std::nextafter(value, kInfinity);
}

struct Step {
  double limit;
  int popularimeter;
  int sdb;
};

// Each holds from just above the limit before it up to its own.
const Step kSteps[] = {
    {0.5, 13, 10},  {1.0, 23, 20},  {1.5, 54, 30},  {2.0, 64, 40},  {2.5, 118, 50},
    {3.0, 128, 60}, {3.5, 186, 70}, {4.0, 196, 80}, {4.5, 242, 90}, {5.0, 255, 100},
};

void expectStep(double rating, int popularimeter, int sdb) {
  EXPECT_EQ(popularimeterRating(rating), popularimeter) << rating;
  EXPECT_EQ(sdbRating(rating), sdb) << rating;
}

TEST(Rating, GoesUpInUnevenSteps) {
  double previous = 0.0;
  for (const Step& step : kSteps) {
    expectStep(justAbove(previous), step.popularimeter, step.sdb);
    expectStep((previous + step.limit) / 2, step.popularimeter, step.sdb);
    expectStep(justBelow(step.limit), step.popularimeter, step.sdb);
    expectStep(step.limit, step.popularimeter, step.sdb);
    previous = step.limit;
  }
}

TEST(Rating, IsZeroForZeroOnly) {
  expectStep(0.0, 0, 0);
  expectStep(-0.0, 0, 0);
  expectStep(justAbove(0.0), 13, 10);
  expectStep(justBelow(0.0), 13, 10);
  expectStep(-1.0, 13, 10);
  expectStep(-1e300, 13, 10);
  expectStep(-kInfinity, 13, 10);
}

TEST(Rating, FallsBackToZeroAboveTheScaleInOneOfThemOnly) {
  for (const double rating : {justAbove(5.0), 5.5, 7.0, 1e300, kInfinity, kNaN, -kNaN}) {
    expectStep(rating, 255, 0);
  }
}

TEST(Rating, IsCutToPercentNotRounded) {
  EXPECT_EQ(percentRating(0.0), 0);
  EXPECT_EQ(percentRating(-0.0), 0);
  EXPECT_EQ(percentRating(0.5), 10);
  EXPECT_EQ(percentRating(3.5), 70);
  EXPECT_EQ(percentRating(4.1), 81);
  EXPECT_EQ(percentRating(4.99), 99);
  EXPECT_EQ(percentRating(justBelow(5.0)), 99);
  EXPECT_EQ(percentRating(5.0), 100);
  EXPECT_EQ(percentRating(7.0), 140);
  EXPECT_EQ(percentRating(-1.0), -20);
  EXPECT_EQ(percentRating(-0.04), 0);
  // By 100, then divided by 5: divided first, 2.9 would give 57; times 20, 2.3 would give 46.
  EXPECT_EQ(percentRating(2.9), 58);
  EXPECT_EQ(percentRating(2.3), 45);
}

TEST(Rating, IsSaturatedInPercent) {
  EXPECT_EQ(percentRating(1e300), kMax32);
  EXPECT_EQ(percentRating(1.7e308), kMax32) << "the product is infinite";
  EXPECT_EQ(percentRating(kInfinity), kMax32);
  EXPECT_EQ(percentRating(-1e300), kMin32);
  EXPECT_EQ(percentRating(-kInfinity), kMin32);
  EXPECT_EQ(percentRating(kNaN), 0);
}

TEST(Rating, CountsWholeStarsForSharedUserRating) {
  const unsigned ofStars[] = {0, 24, 49, 74, 89, 99};
  for (int stars = 0; stars <= 5; ++stars) {
    EXPECT_EQ(sharedUserRating(stars), ofStars[stars]) << stars;
    EXPECT_EQ(sharedUserRating(justBelow(stars + 1)), ofStars[stars]) << stars;
  }
  EXPECT_EQ(sharedUserRating(4.5), 89u);
  EXPECT_EQ(sharedUserRating(0.5), 0u);
  EXPECT_EQ(sharedUserRating(5.9), 99u) << "still five whole stars";
}

TEST(Rating, IsNoSharedUserRatingOutsideItsScale) {
  for (const double rating : {6.0, 7.0, 1e300, kInfinity, -0.5, -1.0, -1e300, -kInfinity, kNaN}) {
    EXPECT_EQ(sharedUserRating(rating), 0u) << rating;
  }
}

}  // namespace
}  // namespace tagwriter::test

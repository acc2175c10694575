#include "tagging/rating.h"

#include <iterator>

#include "tagging/numbers.h"

namespace tagwriter {
namespace {

/// One step of the two scales, for ratings up to `limit` stars.
struct Step {
  double limit;
  int popularimeter;
  int sdb;
};

constexpr Step kUnrated = {0.0, 0, 0};
constexpr Step kSteps[] = {
    {0.5, 13, 10},  {1.0, 23, 20},  {1.5, 54, 30},  {2.0, 64, 40},  {2.5, 118, 50},
    {3.0, 128, 60}, {3.5, 186, 70}, {4.0, 196, 80}, {4.5, 242, 90}, {5.0, 255, 100},
};
constexpr Step kBeyond = {0.0, 255, 0};

const Step& stepOf(double stars) {
  if (stars == 0.0) return kUnrated;
  for (const Step& step : kSteps) {
    if (stars <= step.limit) return step;
  }
  return kBeyond;
}

}  // namespace

int popularimeterRating(double stars) {
  return stepOf(stars).popularimeter;
}

int sdbRating(double stars) {
  return stepOf(stars).sdb;
}

double starsOfPopularimeter(int rating) {
  if (rating <= kUnrated.popularimeter) return kUnrated.limit;
  for (const Step& step : kSteps) {
    if (rating <= step.popularimeter) return step.limit;
  }
  return std::end(kSteps)[-1].limit;
}

double starsOfPercent(std::int64_t rating) {
  constexpr double kPerStar = 20.0;
  return static_cast<double>(rating) / kPerStar;
}

std::int32_t percentRating(double stars) {
  return truncateToInt32(stars * 100.0 / 5.0);
}

unsigned sharedUserRating(double stars) {
  constexpr unsigned kOfWholeStars[] = {0, 24, 49, 74, 89, 99};
  const auto whole = static_cast<unsigned>(truncateToInt32(stars));
  return whole < std::size(kOfWholeStars) ? kOfWholeStars[whole] : 0;
}

}  // namespace tagwriter

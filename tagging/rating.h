// What a rating of 0.0 to 5.0 stars becomes in the scales of the tag families.
#pragma once

#include <cstdint>

namespace tagwriter {

/// The rating byte of an ID3v2 popularimeter; 255 above 5.0 and for what is not a number.
int popularimeterRating(double rating);
/// The value of "SDB/Rating", 0 to 100 in tens; 0 above 5.0 and for what is not a number (kept).
int sdbRating(double rating);
/// 20 a star, cut and not rounded; 4.1 gives 81.
std::int32_t percentRating(double rating);
/// The value of "WM/SharedUserRating" for whole stars; 0 below 0 and above 5.
unsigned sharedUserRating(double rating);

/// The stars that a popularimeter's rating byte stands for: the least whose byte is not below it.
double starsOfPopularimeter(int rating);

}  // namespace tagwriter

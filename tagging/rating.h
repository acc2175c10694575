// Converts ratings of 0.0 to 5.0 stars to and from the scales of the tag families.
#pragma once

#include <cstdint>

namespace tagwriter {

/// The rating byte of an ID3v2 popularimeter; 255 above 5.0 and for a NaN.
int popularimeterRating(double stars);
/// The value of "SDB/Rating", 0 to 100 in tens. Quirk: 0, not 100, above 5.0 and for a NaN; players
/// rely on it.
int sdbRating(double stars);
/// 20 per star, truncated, not rounded: 4.1 gives 81.
std::int32_t percentRating(double stars);
/// The value of "WM/SharedUserRating" for whole stars; 0 below 0 and above 5.
unsigned sharedUserRating(double stars);

/// The stars for a popularimeter's rating byte: the lowest step whose byte is at least `rating`.
double starsOfPopularimeter(int rating);
/// The stars for a rating of 20 per star.
double starsOfPercent(std::int64_t rating);

}  // namespace tagwriter

#include "cli/closest_word.h"

#include <algorithm>
#include <cctype>

namespace tagwriter {
namespace {

char lower(char c) {
  return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

/// The number of letters to insert, delete, replace or swap with the next to make `a` from `b`.
std::size_t distanceOf(const std::string& a, const std::string& b) {
  std::vector<std::vector<std::size_t>> distance(a.size() + 1,
                                                 std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) {
    for (std::size_t j = 0; j <= b.size(); ++j) {
      auto& here = distance[i][j];
      here = std::max(i, j);
      if (i == 0 || j == 0) continue;
      const bool same = lower(a[i - 1]) == lower(b[j - 1]);
      here = std::min({distance[i - 1][j] + 1, distance[i][j - 1] + 1,
                       distance[i - 1][j - 1] + (same ? 0 : 1)});
      const bool swapped = i > 1 && j > 1 && lower(a[i - 1]) == lower(b[j - 2]) &&
                           lower(a[i - 2]) == lower(b[j - 1]);
      if (swapped) here = std::min(here, distance[i - 2][j - 2] + 1);
    }
  }
  return distance[a.size()][b.size()];
}

}  // namespace

std::string closestWord(const std::string& word, const std::vector<std::string>& known) {
  // A short word is close to many others.
  std::size_t limit = (word.size() + 2) / 4 + 1;
  std::string closest;
  for (const std::string& candidate : known) {
    const std::size_t distance = distanceOf(word, candidate);
    if (distance >= limit) continue;
    limit = distance;
    closest = candidate;
  }
  return closest;
}

std::string didYouMean(const std::string& closest) {
  return closest.empty() ? "" : "; did you mean '" + closest + "'?";
}

}  // namespace tagwriter

// "Did you mean ...?"
#pragma once

#include <string>
#include <vector>

namespace tagwriter {

/// The one of `known` that `word` is most probably a misspelling of, regardless of ASCII case: it
/// has the fewest letters that are missing, extra, different or swapped with the next. Empty if
/// too much is different.
std::string closestWord(const std::string& word, const std::vector<std::string>& known);

/// "; did you mean 'x'?" for a closest word, or nothing if it is empty.
std::string didYouMean(const std::string& closest);

}  // namespace tagwriter

// Formats and parses the numbers in tags.
#pragma once

#include <tstring.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/number_pair.h"

namespace tagwriter {

/// parseNumberPair for a TagLib string, converted to Latin-1; returns 0 for null and empty strings.
int parseNumberPair(const TagLib::String& text, std::int64_t& first, std::int64_t& second);

/// `value` without its fraction, limited to the 32-bit range; 0 for a NaN.
std::int32_t truncateToInt32(double value);

/// Formats into a buffer of `size` bytes, terminator included, and returns what fits.
[[gnu::format(printf, 2, 3)]] std::string formatTruncated(std::size_t size, const char* format,
                                                          ...);

}  // namespace tagwriter

// Formats and parses the numbers in tags.
#pragma once

#include <tstring.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace tagwriter {

/// Parses "number" or "number/total", with the total after the last slash. Sets each output only if
/// its number is present, truncated to 32 bits (signed). White space and a sign before a number are
/// accepted. Returns how many numbers were found: 0, 1 or 2.
int parseNumberPair(const char* text, std::int64_t& first, std::int64_t& second);
/// The same for a TagLib string, converted to Latin-1; returns 0 for null and empty strings.
int parseNumberPair(const TagLib::String& text, std::int64_t& first, std::int64_t& second);

/// The low 32 bits of `value`, signed.
std::int32_t low32(std::int64_t value);

/// `value` without its fraction, limited to the 32-bit range; 0 for a NaN.
std::int32_t truncateToInt32(double value);

/// Formats into a buffer of `size` bytes, terminator included, and returns what fits.
[[gnu::format(printf, 2, 3)]] std::string formatTruncated(std::size_t size, const char* format,
                                                          ...);

}  // namespace tagwriter

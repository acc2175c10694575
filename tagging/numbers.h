// Numbers on their way into a tag and back.
#pragma once

#include <tstring.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace tagwriter {

/// Reads "number" or "number/total", the total behind the last slash. Writes each number to its
/// output only when it is there, truncated to 32 bits (signed). Blanks before a number and a sign
/// are accepted. Returns how many numbers were found: 0, 1 or 2.
int parseNumberPair(const char* text, std::int64_t& first, std::int64_t& second);
/// The same for a TagLib string, read as Latin-1; null and empty strings give 0.
int parseNumberPair(const TagLib::String& text, std::int64_t& first, std::int64_t& second);

/// The low 32 bits of `value`, signed.
std::int32_t low32(std::int64_t value);

/// `value` without its fraction; a value out of range gives the nearest 32-bit number, a NaN 0.
std::int32_t truncateToInt32(double value);

/// Formats into a buffer of `size` bytes, terminator included, and returns what fits.
[[gnu::format(printf, 2, 3)]] std::string formatTruncated(std::size_t size, const char* format,
                                                          ...);

}  // namespace tagwriter

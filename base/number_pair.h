// Numbers with a total, as tags store them: "3/12".
#pragma once

#include <cstdint>

namespace tagwriter {

/// Parses "number" or "number/total", with the total after the last slash. Sets each output only if
/// its number is present, truncated to 32 bits (signed). White space and a sign before a number are
/// accepted. Returns how many numbers were found: 0, 1 or 2.
int parseNumberPair(const char* text, std::int64_t& first, std::int64_t& second);

/// The low 32 bits of `value`, signed.
std::int32_t low32(std::int64_t value);

}  // namespace tagwriter

#include "tagging/numbers.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <limits>

namespace tagwriter {

int parseNumberPair(const TagLib::String& text, std::int64_t& first, std::int64_t& second) {
  return text.isEmpty() ? 0 : parseNumberPair(text.toCString(false), first, second);
}

std::int32_t truncateToInt32(double value) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (std::isnan(value)) return 0;
  if (value >= Limits::max()) return Limits::max();
  if (value <= Limits::min()) return Limits::min();
  return static_cast<std::int32_t>(value);
}

std::string formatTruncated(std::size_t size, const char* format, ...) {
  std::string buffer(size, '\0');
  std::va_list arguments;
  va_start(arguments, format);
  // A false positive of clang-tidy, which appears only if it has checked other files before.
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
  std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
  va_end(arguments);
  return buffer.c_str();
}

}  // namespace tagwriter

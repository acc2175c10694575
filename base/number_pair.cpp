#include "base/number_pair.h"

#include <cstdlib>
#include <cstring>

namespace tagwriter {
namespace {

/// Parses one number; returns false if there is none at the start of `text`.
bool parseNumber(const char* text, std::int64_t& number) {
  char* end = nullptr;
  const long value = std::strtol(text, &end, 10);
  if (end == text) return false;
  number = low32(value);
  return true;
}

}  // namespace

int parseNumberPair(const char* text, std::int64_t& first, std::int64_t& second) {
  if (!parseNumber(text, first)) return 0;
  const char* slash = std::strrchr(text, '/');
  return slash && parseNumber(slash + 1, second) ? 2 : 1;
}

std::int32_t low32(std::int64_t value) {
  return static_cast<std::int32_t>(value);
}

}  // namespace tagwriter

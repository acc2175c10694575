#include "cli/printable.h"

#include <cstdio>

namespace tagwriter {
namespace {

bool isControl(unsigned char c) {
  return c < 0x20 || c == 0x7f;
}

/// Whether there is a C1 control character at `at`: U+0080 to U+009F are C2 80 to C2 9F.
bool isC1(const std::string& text, std::size_t at) {
  return static_cast<unsigned char>(text[at]) == 0xc2 && at + 1 < text.size() &&
         static_cast<unsigned char>(text[at + 1]) < 0xa0;
}

std::string escaped(unsigned char c) {
  char buffer[sizeof "\\xff"];
  std::snprintf(buffer, sizeof buffer, "\\x%02x", c);
  return buffer;
}

}  // namespace

std::string printable(const std::string& text, bool keepLines) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    const bool kept = c == '\t' || (c == '\n' && keepLines);
    if (isC1(text, i)) {
      result += escaped(static_cast<unsigned char>(text[++i]));
    } else if (isControl(c) && !kept) {
      result += escaped(c);
    } else {
      result += text[i];
    }
  }
  return result;
}

}  // namespace tagwriter

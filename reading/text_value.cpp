#include "reading/text_value.h"

#include <cstdint>
#include <string_view>
#include <utility>

namespace tagwriter {
namespace {

/// The length of the character that begins with `first`; 0 if none does.
std::size_t lengthOf(unsigned char first) {
  if (first < 0x80) return 1;
  if (first < 0xc2) return 0;
  if (first < 0xe0) return 2;
  if (first < 0xf0) return 3;
  return first < 0xf5 ? 4 : 0;
}

bool isAllowed(std::uint32_t character, std::size_t length) {
  constexpr std::uint32_t kLeast[] = {1, 0x80, 0x800, 0x10000};
  const bool isSurrogate = character >= 0xd800 && character < 0xe000;
  // sd-bus rejects noncharacters.
  const bool isNone =
      (character & 0xfffe) == 0xfffe || (character >= 0xfdd0 && character <= 0xfdef);
  return character >= kLeast[length - 1] && character <= 0x10ffff && !isSurrogate && !isNone;
}

bool isString(std::string_view text) {
  while (!text.empty()) {
    const auto first = static_cast<unsigned char>(text[0]);
    const std::size_t length = lengthOf(first);
    if (length == 0 || length > text.size()) return false;
    std::uint32_t character = length == 1 ? first : first & (0x7fU >> length);
    for (const char next : text.substr(1, length - 1)) {
      if ((static_cast<unsigned char>(next) & 0xc0) != 0x80) return false;
      character = character << 6 | (static_cast<unsigned char>(next) & 0x3fU);
    }
    if (!isAllowed(character, length)) return false;
    text.remove_prefix(length);
  }
  return true;
}

}  // namespace

ValueDictionary::Value textValue(std::string text) {
  if (!isString(text)) return ByteString{std::move(text)};
  return text;
}

}  // namespace tagwriter

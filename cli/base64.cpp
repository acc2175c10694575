#include "cli/base64.h"

#include <cstdint>

namespace tagwriter {
namespace {

constexpr std::string_view kDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kPadding = '=';
constexpr std::size_t kBytes = 3;   // in a group
constexpr std::size_t kLength = 4;  // of a group

}  // namespace

std::string toBase64(std::string_view bytes) {
  std::string text;
  for (; !bytes.empty(); bytes.remove_prefix(std::min(kBytes, bytes.size()))) {
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < kBytes; ++i) {
      group = group << 8 | (i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0U);
    }
    for (std::size_t i = 0; i < kLength; ++i) {
      text += i <= bytes.size() ? kDigits[group >> (18 - 6 * i) & 0x3f] : kPadding;
    }
  }
  return text;
}

std::optional<std::string> fromBase64(std::string_view text) {
  if (text.size() % kLength != 0) return std::nullopt;
  const std::size_t end = text.find(kPadding);
  const std::size_t padding = end == text.npos ? 0 : text.size() - end;
  if (padding > 2 || text.find_first_not_of(kPadding, end) != text.npos) return std::nullopt;

  std::string bytes;
  for (; !text.empty(); text.remove_prefix(kLength)) {
    std::uint32_t group = 0;
    for (const char digit : text.substr(0, kLength)) {
      const std::size_t value = digit == kPadding ? 0 : kDigits.find(digit);
      if (value == kDigits.npos) return std::nullopt;
      group = group << 6 | static_cast<std::uint32_t>(value);
    }
    for (const unsigned shift : {16U, 8U, 0U}) bytes += static_cast<char>(group >> shift & 0xff);
  }
  bytes.resize(bytes.size() - padding);
  return bytes;
}

}  // namespace tagwriter

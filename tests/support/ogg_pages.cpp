#include "tests/support/ogg_pages.h"

#include <cstdint>

namespace tagwriter::test {
namespace {

constexpr std::size_t kHeaderSize = 26;
constexpr std::size_t kPageNumberAt = 18;
constexpr std::size_t kChecksumAt = 22;

std::string littleEndian(std::uint32_t number) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(number >> shift);
  return bytes;
}

std::uint32_t checksumOf(const std::string& page) {
  std::uint32_t sum = 0;
  for (const char c : page) {
    sum ^= static_cast<std::uint32_t>(static_cast<unsigned char>(c)) << 24;
    for (int bit = 0; bit < 8; ++bit) sum = (sum << 1) ^ (sum & 0x80000000u ? 0x04c11db7u : 0);
  }
  return sum;
}

}  // namespace

std::vector<OggPage> oggPages(const std::string& bytes) {
  std::vector<OggPage> pages;
  for (std::size_t at = 0; at + kHeaderSize < bytes.size();) {
    OggPage page;
    page.header = bytes.substr(at, kHeaderSize);
    const auto count = static_cast<unsigned char>(bytes[at + kHeaderSize]);
    page.segments = bytes.substr(at + kHeaderSize + 1, count);
    std::size_t size = 0;
    for (const char c : page.segments) size += static_cast<unsigned char>(c);
    page.body = bytes.substr(at + kHeaderSize + 1 + count, size);
    at += kHeaderSize + 1 + count + size;
    pages.push_back(page);
  }
  return pages;
}

OggPage oggPage(const OggPage& model, const std::string& packet) {
  const std::string segments =
      std::string(packet.size() / 255, '\xff') + static_cast<char>(packet.size() % 255);
  return {model.header, packet, segments};
}

std::string oggFile(const std::vector<OggPage>& pages) {
  std::string file;
  std::uint32_t number = 0;
  for (const OggPage& page : pages) {
    std::string bytes = page.header;
    bytes.replace(kPageNumberAt, 4, littleEndian(number++));
    bytes.replace(kChecksumAt, 4, 4, '\0');
    bytes += static_cast<char>(page.segments.size()) + page.segments + page.body;
    file += bytes.replace(kChecksumAt, 4, littleEndian(checksumOf(bytes)));
  }
  return file;
}

}  // namespace tagwriter::test

#include "tests/dsf/dsf_bytes.h"

#include <gtest/gtest.h>

namespace tagwriter::test {

std::string DsfBytes::bytes() const {
  std::string body = littleEndian(1, 4) + littleEndian(0, 4) + littleEndian(2, 4) +
                     littleEndian(channels, 4) + littleEndian(sampleRate, 4) +
                     littleEndian(bitsPerSample, 4) +
                     littleEndian(static_cast<std::uint64_t>(sampleCount), 8) +
                     littleEndian(4096, 4) + littleEndian(0, 4);
  body.resize(fmtBodyLength, '\0');
  const std::string chunks = fmtId + littleEndian(static_cast<std::uint64_t>(fmtSize), 8) + body +
                             dataId + littleEndian(static_cast<std::uint64_t>(dataSize), 8) + audio;
  return dsdId + littleEndian(28, 8) + littleEndian(28 + chunks.size(), 8) +
         littleEndian(static_cast<std::uint64_t>(pointer), 8) + chunks;
}

std::string littleEndian(std::uint64_t value, std::size_t width) {
  std::string bytes;
  for (std::size_t i = 0; i < width; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFF);
  return bytes;
}

std::int64_t int64At(const std::string& bytes, std::size_t offset) {
  if (bytes.size() < offset + 8) {
    ADD_FAILURE() << "only " << bytes.size() << " bytes";
    return 0;
  }
  std::uint64_t value = 0;
  for (std::size_t i = 8; i-- > 0;)
    value = value << 8 | static_cast<std::uint8_t>(bytes[offset + i]);
  return static_cast<std::int64_t>(value);
}

std::string withPointer(std::string bytes, std::int64_t pointer) {
  return bytes.replace(kPointerAt, 8, littleEndian(static_cast<std::uint64_t>(pointer), 8));
}

std::size_t id3v2SizeAt(const std::string& bytes, std::size_t offset) {
  if (bytes.size() < offset + 10 || bytes.compare(offset, 3, "ID3") != 0) {
    ADD_FAILURE() << "no ID3v2 header at " << offset << " of " << bytes.size() << " bytes";
    return 0;
  }
  std::size_t size = 0;
  for (std::size_t i = 6; i < 10; ++i)
    size = size << 7 | static_cast<std::uint8_t>(bytes[offset + i]);
  return size + 10;
}

}  // namespace tagwriter::test

// DSF files made of bytes, for what no encoder would write, and the numbers in those that one did.
#pragma once

#include <cstdint>
#include <string>

namespace tagwriter::test {

constexpr std::size_t kPointerAt = 20;
constexpr std::size_t kFmtAt = 28;
constexpr std::size_t kAudioAt = 92;  // where fmt has its usual 52 bytes

/// One file, each field as it is to stand there. The default is a valid file of 3 seconds, with two
/// channels of DSD64 and hardly any audio.
struct DsfBytes {
  std::string dsdId = "DSD ";
  std::int64_t pointer = 0;
  std::string fmtId = "fmt ";
  std::int64_t fmtSize = 52;
  std::uint32_t channels = 2;
  std::uint32_t sampleRate = 2822400;
  std::uint32_t bitsPerSample = 1;
  std::int64_t sampleCount = 3LL * 2822400;
  std::size_t fmtBodyLength = 40;  // what there is of it, whatever fmtSize says
  std::string dataId = "data";
  std::int64_t dataSize = 12 + 3LL * 2822400 * 2 / 8;
  std::string audio = std::string(64, '\x69');

  /// The file's bytes.
  std::string bytes() const;
};

/// `value` as `width` bytes, the lowest first.
std::string littleEndian(std::uint64_t value, std::size_t width);

/// The 8 bytes at `offset`, the lowest first; a test failure when they are not all there.
std::int64_t int64At(const std::string& bytes, std::size_t offset);

/// `bytes` with another pointer to the metadata.
std::string withPointer(std::string bytes, std::int64_t pointer);

/// The size that an ID3v2 header at `offset` states, the header included (no footer). A test
/// failure when there is no such header.
std::size_t id3v2SizeAt(const std::string& bytes, std::size_t offset);

}  // namespace tagwriter::test

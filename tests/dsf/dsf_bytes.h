// DSF files made of bytes, which no encoder would write, and opening them as the service does.
#pragma once

#include <fcntl.h>
#include <id3v2frame.h>
#include <id3v2tag.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "dsf/dsf_file.h"
#include "io/fd_file_stream.h"
#include "tests/io/stream_file.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {

constexpr std::size_t kPointerAt = 20;
constexpr std::size_t kFmtAt = 28;
constexpr std::size_t kAudioEnd = 8284;  // of every DSF file in tests/data

/// `value` as `width` bytes, the lowest first.
inline std::string littleEndian(std::uint64_t value, std::size_t width) {
  std::string bytes;
  for (std::size_t i = 0; i < width; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFF);
  return bytes;
}

/// One file, field by field. The default is a valid file of 3 seconds with two channels of DSD64
/// and hardly any audio.
struct DsfBytes {
  std::string dsdId = "DSD ";
  std::int64_t pointer = 0;
  std::string fmtId = "fmt ";
  std::int64_t fmtSize = 52;
  std::uint32_t channels = 2;
  std::uint32_t sampleRate = 2822400;
  std::int64_t sampleCount = 3LL * 2822400;
  std::size_t fmtBodyLength = 40;  ///< its real length, whatever fmtSize says
  std::string dataId = "data";
  std::int64_t dataSize = 12 + 3LL * 2822400 * 2 / 8;

  std::string bytes() const {
    const auto number = [](auto value) {
      return littleEndian(static_cast<std::uint64_t>(value), sizeof value);
    };
    std::string body = number(1) + number(0) + number(2) + number(channels) + number(sampleRate) +
                       number(1) + number(sampleCount) + number(4096) + number(0);
    body.resize(fmtBodyLength, '\0');
    const std::string chunks =
        fmtId + number(fmtSize) + body + dataId + number(dataSize) + std::string(64, '\x69');
    return dsdId + number(28LL) + number(28LL + static_cast<long long>(chunks.size())) +
           number(pointer) + chunks;
  }
};

/// `bytes` with this pointer to the metadata.
inline std::string withPointer(std::string bytes, std::int64_t pointer) {
  return bytes.replace(kPointerAt, 8, littleEndian(static_cast<std::uint64_t>(pointer), 8));
}

inline std::int64_t pointerOf(const std::string& bytes) {
  std::int64_t pointer = 0;
  std::memcpy(&pointer, bytes.substr(kPointerAt, 8).data(), 8);
  return pointer;
}

/// A DSF file over a descriptor stream. Everything is written once it is destroyed.
struct OpenDsf {
  explicit OpenDsf(const std::string& path, int flags = O_RDWR)
      : stream(openFile(path, flags).release(), path.c_str(), nullptr), file(&stream) {}

  std::string title() const { return file.tag()->title().to8Bit(true); }

  TagLib::FDFileStream stream;
  TagLib::DSF::File file;
};

inline void removeAllFrames(TagLib::ID3v2::Tag& tag) {
  while (!tag.frameList().isEmpty()) tag.removeFrame(tag.frameList().front());
}

}  // namespace tagwriter::test

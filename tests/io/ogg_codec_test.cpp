// What the first packet of an Ogg file says.
#include "io/ogg_codec.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <optional>

#include "tests/support/descriptors.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

/// The two flags as a pair: Vorbis, FLAC.
using Flags = std::pair<bool, bool>;

constexpr Flags kVorbis = {true, false};
constexpr Flags kFLAC = {false, true};

const std::string kPageHeader = "OggS" + std::string(24, '.');
const std::string kVorbisPacket = "\x01vorbis";
const std::string kFLACPacket =
    "\x7f"
    "FLAC..";  // the last two bytes do not matter

/// Checks what becomes of all flags and offsets: `expected`, or what they were before.
void expectFlags(const std::string& path, std::optional<Flags> expected) {
  for (const int openFlags : {O_RDWR, O_RDONLY}) {
    const UniqueFd file = openFile(path, openFlags);
    for (const Flags& before : {Flags(false, false), kVorbis, kFLAC, Flags(true, true)}) {
      for (const off_t offset : {0, 28, 1 << 20}) {
        ::lseek(file.get(), offset, SEEK_SET);
        Flags flags = before;
        sniffOggCodec(file.get(), flags.first, flags.second);
        EXPECT_EQ(flags, expected.value_or(before)) << "offset " << offset;
        EXPECT_EQ(::lseek(file.get(), 0, SEEK_CUR), 0);
        EXPECT_TRUE(isOpen(file.get()));
      }
    }
  }
}

TEST(OggCodec, IsFoundInRealFiles) {
  for (const char* name : {"vorbis.oga", "vorbis_plain.ogg"}) expectFlags(dataFile(name), kVorbis);
  for (const char* name : {"flac.oga", "oggflac_named.ogg"}) expectFlags(dataFile(name), kFLAC);
  for (const char* name : {"opus.oga", "speex.oga", "flac_plain.flac", "mp3_plain.mp3"}) {
    expectFlags(dataFile(name), std::nullopt);
  }
}

TEST(OggCodec, IsInTheSevenBytesBehindThePageHeader) {
  const TemporaryDirectory directory;
  const auto expect = [&](const std::string& bytes, std::optional<Flags> expected) {
    SCOPED_TRACE(testing::PrintToString(bytes));
    expectFlags(directory.write("a.oga", bytes), expected);
  };
  for (const auto& [packet, flags] : {std::pair(kVorbisPacket, kVorbis), {kFLACPacket, kFLAC}}) {
    const std::string bytes = kPageHeader + packet;
    expect(bytes, flags);
    expect(std::string(28, '\0') + packet + "and more", flags);
    expect("." + bytes, std::nullopt);
    expect(bytes.substr(1) + ".", std::nullopt);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
      expect(bytes.substr(0, length), std::nullopt);
    }
    for (std::size_t i = 28; i < bytes.size(); ++i) {
      if (bytes[i] == '.') continue;
      std::string changed = bytes;
      changed[i] ^= 0x20;
      expect(changed, std::nullopt);
    }
  }
}

TEST(OggCodec, IsUnknownWhereNothingCanBeRead) {
  const TemporaryDirectory directory;
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
  const UniqueFd reading(ends[0]);
  const UniqueFd writing(ends[1]);
  const UniqueFd directoryFd = openFile(directory.path(), O_RDONLY);
  const UniqueFd writeOnly = openFile(directory.copyOf("vorbis.oga"), O_WRONLY);
  for (const int fd : {-1, reading.get(), writing.get(), directoryFd.get(), writeOnly.get()}) {
    Flags flags = kFLAC;
    sniffOggCodec(fd, flags.first, flags.second);
    EXPECT_EQ(flags, kFLAC) << fd;
  }
}

}  // namespace
}  // namespace tagwriter::test

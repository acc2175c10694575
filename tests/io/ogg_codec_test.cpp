// What the first packet of an Ogg file says.
#include "io/ogg_codec.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <string>

#include "tests/support/descriptors.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

struct Flags {
  bool isVorbis = false;
  bool isFLAC = false;
  bool operator==(const Flags&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Flags& flags) {
  return out << "Vorbis " << flags.isVorbis << ", FLAC " << flags.isFLAC;
}

constexpr Flags kNeither = {false, false};
constexpr Flags kVorbis = {true, false};
constexpr Flags kFLAC = {false, true};
constexpr Flags kAllStarts[] = {{false, false}, {true, false}, {false, true}, {true, true}};

const std::string kPageHeader = "OggS" + std::string(24, '.');
const std::string kVorbisPacket = "\x01vorbis";
const std::string kFLACPacket =
    "\x7f"
    "FLAC";

class OggCodec : public testing::Test {
 protected:
  /// What comes of `flags` for the file at `path`, opened anew; its offset has to be 0 in the end.
  Flags sniffed(const std::string& path, Flags flags, off_t offset, int openFlags = O_RDWR) {
    const UniqueFd file = openFile(path, openFlags);
    EXPECT_EQ(::lseek(file.get(), offset, SEEK_SET), offset);
    sniffOggCodec(file.get(), flags.isVorbis, flags.isFLAC);
    EXPECT_EQ(::lseek(file.get(), 0, SEEK_CUR), 0);
    EXPECT_TRUE(isOpen(file.get()));
    return flags;
  }

  /// The file is recognised as `expected`, whatever the flags and the offset were before.
  void expect(const std::string& path, Flags expected) {
    for (const Flags start : kAllStarts) {
      for (const off_t offset : {0, 1, 28, 35, 1 << 20}) {
        EXPECT_EQ(sniffed(path, start, offset), expected) << start << ", offset " << offset;
      }
    }
    EXPECT_EQ(sniffed(path, kNeither, 3, O_RDONLY), expected);
  }

  /// The flags stay as they were, whatever they and the offset were.
  void expectNothing(const std::string& path) {
    for (const Flags start : kAllStarts) {
      for (const off_t offset : {0, 1, 28, 35, 1 << 20}) {
        EXPECT_EQ(sniffed(path, start, offset), start) << "offset " << offset;
      }
    }
    EXPECT_EQ(sniffed(path, kNeither, 3, O_RDONLY), kNeither);
  }

  std::string file(const std::string& bytes) { return directory_.write("a.oga", bytes); }

  TemporaryDirectory directory_;
};

TEST_F(OggCodec, RecognisesRealFiles) {
  expect(dataFile("vorbis.oga"), kVorbis);
  expect(dataFile("vorbis_plain.ogg"), kVorbis);
  expect(dataFile("flac.oga"), kFLAC);
  expect(dataFile("oggflac_named.ogg"), kFLAC);
}

TEST_F(OggCodec, RecognisesNothingElse) {
  for (const char* name : {"opus.oga", "speex.oga", "flac_plain.flac", "mp3_plain.mp3"}) {
    SCOPED_TRACE(name);
    expectNothing(dataFile(name));
  }
}

TEST_F(OggCodec, LooksOnlyAtTheSevenBytesBehindThePageHeader) {
  expect(file(kPageHeader + kVorbisPacket), kVorbis);
  expect(file(std::string(28, '\0') + kVorbisPacket + "and more"), kVorbis);
  expect(file(kPageHeader + kFLACPacket + "??"), kFLAC);
  expect(file(kPageHeader + kFLACPacket + std::string(2, '\0')), kFLAC);
  expectNothing(file(kPageHeader + "." + kVorbisPacket));
  expectNothing(file(kPageHeader.substr(1) + kVorbisPacket + "."));
  expectNothing(file(kPageHeader + "." + kFLACPacket + ".."));
  expectNothing(file(kPageHeader.substr(1) + kFLACPacket + "..."));
  expectNothing(file(kVorbisPacket + kFLACPacket + std::string(100, '.')));
}

TEST_F(OggCodec, ComparesEveryByte) {
  for (std::size_t i = 0; i < kVorbisPacket.size(); ++i) {
    std::string packet = kVorbisPacket;
    packet[i] ^= 0x20;
    SCOPED_TRACE(testing::Message() << "Vorbis, byte " << i);
    expectNothing(file(kPageHeader + packet));
  }
  for (std::size_t i = 0; i < kFLACPacket.size(); ++i) {
    std::string packet = kFLACPacket + "..";
    packet[i] ^= 0x20;
    SCOPED_TRACE(testing::Message() << "FLAC, byte " << i);
    expectNothing(file(kPageHeader + packet));
  }
  expectNothing(file(kPageHeader + "\x01speexs"));
  expectNothing(file(kPageHeader + std::string("\x01vorbi\0", 7)));
}

TEST_F(OggCodec, RecognisesNothingInAFileThatEndsTooEarly) {
  for (const std::string& packet : {kVorbisPacket, kFLACPacket + ".."}) {
    const std::string bytes = kPageHeader + packet;
    ASSERT_EQ(bytes.size(), 35u);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
      SCOPED_TRACE(testing::Message() << length << " bytes");
      expectNothing(file(bytes.substr(0, length)));
    }
  }
}

TEST_F(OggCodec, TakesWhatIsNoFile) {
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
  const UniqueFd reading(ends[0]);
  const UniqueFd writing(ends[1]);
  const UniqueFd directory = openFile(directory_.path(), O_RDONLY);
  const UniqueFd writeOnly = openFile(directory_.copyOf("vorbis.oga"), O_WRONLY);
  for (const int fd :
       {-1, INT_MAX, reading.get(), writing.get(), directory.get(), writeOnly.get()}) {
    for (const Flags start : kAllStarts) {
      Flags flags = start;
      sniffOggCodec(fd, flags.isVorbis, flags.isFLAC);
      EXPECT_EQ(flags, start) << "descriptor " << fd;
    }
  }
  EXPECT_EQ(::lseek(writeOnly.get(), 0, SEEK_CUR), 0);
}

}  // namespace
}  // namespace tagwriter::test

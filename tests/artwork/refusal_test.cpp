// What is refused, and what becomes of the descriptor then.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "artwork/clear_artwork.h"
#include "artwork/write_artwork.h"
#include "protocol/keys.h"
#include "protocol/value_dictionary.h"
#include "tests/artwork/artwork_requests.h"
#include "tests/artwork/stored_pictures.h"
#include "tests/support/descriptors.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

std::span<const std::byte> spanOf(const std::string& image) {
  return std::as_bytes(std::span(image));
}

class ArtworkRefusal : public testing::Test {
 protected:
  TemporaryDirectory directory_;
  const std::string image_ = imageOf(100);
  const std::size_t descriptorsBefore_ = countDescriptors();
};

TEST_F(ArtworkRefusal, OfAWriteWithoutAPathClosesTheDescriptor) {
  const std::string path = directory_.copyOf("mp3_plain.mp3");
  const int fd = openFile(path).release();
  const LogCapture log;
  EXPECT_FALSE(writeArtwork(UniqueFd(fd), nullptr, spanOf(image_), 1, ValueDictionary()));
  EXPECT_FALSE(isOpen(fd));
  EXPECT_EQ(countDescriptors(), descriptorsBefore_);
  EXPECT_EQ(log.text(), "");
  EXPECT_EQ(readFile(path), readFile(dataFile("mp3_plain.mp3")));
}

TEST_F(ArtworkRefusal, OfAWriteWithoutAnImageClosesTheDescriptor) {
  const std::string path = directory_.copyOf("mp3_plain.mp3");
  const int fd = openFile(path).release();
  const LogCapture log;
  EXPECT_FALSE(writeArtwork(UniqueFd(fd), path.c_str(), std::nullopt, 1, ValueDictionary()));
  EXPECT_FALSE(isOpen(fd));
  EXPECT_EQ(countDescriptors(), descriptorsBefore_);
  EXPECT_EQ(log.text(), "");
  EXPECT_EQ(readFile(path), readFile(dataFile("mp3_plain.mp3")));
}

/// An image of no bytes is an image, also one whose bytes are nowhere.
TEST_F(ArtworkRefusal, IsNotForAnImageOfNoBytes) {
  const std::string path = directory_.copyOf("flac_plain.flac");
  EXPECT_TRUE(writeArtwork(openFile(path), path.c_str(), std::span<const std::byte>(), 1,
                           ValueDictionary()));
  EXPECT_EQ(picturesIn(Kind::kFLAC, path), Pictures{frontCover(Family::kFLAC, 1, "")});
}

TEST_F(ArtworkRefusal, OfATypeWithoutPicturesLeavesTheFileAlone) {
  const char* const extensions[] = {"ay",  "gbs", "gym", "hes", "kss", "nsf", "nsfe", "sap",
                                    "spc", "vgm", "vgz", "ac3", "au",  "shn", "SHN",  "Vgm"};
  // What is inside does not matter.
  for (const char* source : {"mp3_id3v23.mp3", "vgm.vgm", "ac3.ac3", "au.au"}) {
    for (const char* extension : extensions) {
      SCOPED_TRACE(std::string(source) + " as ." + extension);
      const std::string path = directory_.copyOf(source, std::string("song.") + extension);
      const WriteWatch watch(path);
      EXPECT_FALSE(write(path, image_, 1, true));
      EXPECT_FALSE(write(path, image_, 1, false));
      EXPECT_FALSE(clear(path));
      EXPECT_FALSE(watch.written());
      EXPECT_EQ(readFile(path), readFile(dataFile(source)));
    }
  }
}

struct Noise {
  const char* extension;
  bool written;  ///< the result of a write
  bool changed;  ///< whether the file has changed by it
  bool cleared;  ///< the result of a clear, which never changes anything
};

/// What the library thinks of bytes that are no audio. It takes any bytes for MPEG, Monkey's Audio,
/// WavPack and Musepack audio and puts a tag around them; to AIFF and WAV files it agrees as well,
/// but finds no place for a tag.
constexpr Noise kNoise[] = {
    {"mp3", true, true, false},    {"xyz", true, true, false},    {"m4a", false, false, false},
    {"m4p", false, false, false},  {"flac", false, false, false}, {"ogg", false, false, false},
    {"wma", false, false, false},  {"aiff", true, false, true},   {"wav", true, false, true},
    {"ape", true, true, false},    {"wv", true, true, false},     {"oga", false, false, false},
    {"opus", false, false, false}, {"dsf", false, false, false},  {"mpc", true, true, true},
};

TEST_F(ArtworkRefusal, OfBytesThatAreNoAudioIsUpToTheLibrary) {
  for (const Noise& noise : kNoise) {
    for (const std::size_t size : {0U, 3U, 3000U}) {
      SCOPED_TRACE(std::string(noise.extension) + " of " + std::to_string(size));
      const std::string bytes = imageOf(size);
      const std::string path = directory_.write(std::string("noise.") + noise.extension, bytes);
      EXPECT_EQ(clear(path), noise.cleared);
      EXPECT_EQ(readFile(path), bytes);
      EXPECT_EQ(write(path, image_, 1, true), noise.written);
      const std::string after = readFile(path);
      EXPECT_EQ(after != bytes, noise.changed);
      EXPECT_TRUE(after.starts_with(bytes) || after.ends_with(bytes));
    }
  }
}

class ArtworkReadOnly : public testing::TestWithParam<Format> {};

TEST_P(ArtworkReadOnly, FailsAndChangesNothing) {
  const TemporaryDirectory directory;
  const std::string path = plainCopy(directory, GetParam());
  addOldPictures(GetParam().kind, path, 2);
  const std::string before = readFile(path);
  const std::string image = imageOf(100);
  ValueDictionary replace;
  replace.set(key::kReplaceArtwork, true);
  const int first = openFile(path, O_RDONLY).release();
  EXPECT_FALSE(writeArtwork(UniqueFd(first), path.c_str(), spanOf(image), 1, replace));
  EXPECT_FALSE(isOpen(first));
  const int second = openFile(path, O_RDONLY).release();
  EXPECT_FALSE(clearArtwork(UniqueFd(second), path.c_str(), ValueDictionary()));
  EXPECT_FALSE(isOpen(second));
  EXPECT_EQ(readFile(path), before);
}

INSTANTIATE_TEST_SUITE_P(Formats, ArtworkReadOnly, testing::ValuesIn(kFormats),
                         [](const testing::TestParamInfo<Format>& info) {
                           return std::string(info.param.name);
                         });

/// A request whose truncation endpoint is such trouble that an exception leaves the library's save.
ValueDictionary troublesomeRequest(const UniqueFd& endpoint) {
  ValueDictionary request([](int) -> std::unique_ptr<TruncationConnection> {
    throw std::runtime_error("no truncation today");
  });
  request.set(key::kReplaceArtwork, true);
  request.set(key::kTruncateConnection, BorrowedFd{endpoint.get()});
  return request;
}

TEST_F(ArtworkRefusal, ByAnExceptionOfAWritePassesThroughAndClosesTheDescriptor) {
  const std::string path = directory_.copyOf("ape_plain.ape");
  ASSERT_TRUE(write(path, imageOf(5000), 1, true));
  const UniqueFd endpoint = openFile(path);
  const int fd = openFile(path).release();
  EXPECT_THROW(
      writeArtwork(UniqueFd(fd), path.c_str(), spanOf(image_), 1, troublesomeRequest(endpoint)),
      std::runtime_error);
  EXPECT_FALSE(isOpen(fd));
}

TEST_F(ArtworkRefusal, ByAnExceptionOfAClearPassesThroughAndClosesTheDescriptor) {
  const std::string path = directory_.copyOf("ape_tagged.ape");
  const UniqueFd endpoint = openFile(path);
  const int fd = openFile(path).release();
  EXPECT_THROW(clearArtwork(UniqueFd(fd), path.c_str(), troublesomeRequest(endpoint)),
               std::runtime_error);
  EXPECT_FALSE(isOpen(fd));
}

}  // namespace
}  // namespace tagwriter::test

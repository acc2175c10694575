// What images say about themselves, be they whole, made up, cut off or damaged.
#include "reading/image_info.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/support/temporary_directory.h"

namespace tagwriter {

void PrintTo(const Dimensions& dimensions, std::ostream* out) {
  *out << dimensions.width << "x" << dimensions.height;
}

static bool operator==(const Dimensions& a, const Dimensions& b) {
  return a.width == b.width && a.height == b.height;
}

}  // namespace tagwriter

namespace tagwriter::test {
namespace {

using namespace std::string_literals;

/// Bytes in a block of exactly their size, so that a look behind them is noticed.
class Exact {
 public:
  explicit Exact(const std::string& bytes) : size_(bytes.size()), bytes_(new std::byte[size_]) {
    std::copy_n(reinterpret_cast<const std::byte*>(bytes.data()), size_, bytes_.get());
  }
  operator std::span<const std::byte>() const { return {bytes_.get(), size_}; }

 private:
  std::size_t size_;
  std::unique_ptr<std::byte[]> bytes_;
};

std::optional<ArtworkType> typeOf(const std::string& image) {
  return imageTypeOf(Exact(image));
}

std::optional<Dimensions> sizeOf(const std::string& image) {
  return dimensionsOf(Exact(image));
}

std::string bigEndian(unsigned value, int width) {
  std::string bytes;
  while (width--) bytes += static_cast<char>(value >> (8 * width));
  return bytes;
}

std::string littleEndian(unsigned value, int width) {
  const std::string bytes = bigEndian(value, width);
  return {bytes.rbegin(), bytes.rend()};
}

std::string png(unsigned width, unsigned height) {
  return "\x89PNG\r\n\x1a\n\0\0\0\rIHDR"s + bigEndian(width, 4) + bigEndian(height, 4) +
         "\x08\x02\0\0\0"s;
}

std::string gif(const std::string& version, unsigned width, unsigned height) {
  return version + littleEndian(width, 2) + littleEndian(height, 2) + "\xf0\0\0"s;
}

std::string bmp(unsigned headerSize, unsigned width, unsigned height) {
  return "BM"s + std::string(12, '\0') + littleEndian(headerSize, 4) + littleEndian(width, 4) +
         littleEndian(height, 4) + "\x01\0\x18\0"s;
}

std::string segment(unsigned char marker, const std::string& contents) {
  return "\xff"s + static_cast<char>(marker) +
         bigEndian(static_cast<unsigned>(contents.size()) + 2, 2) + contents;
}

std::string frame(unsigned char marker, unsigned width, unsigned height) {
  return segment(marker, "\x08"s + bigEndian(height, 2) + bigEndian(width, 2) + "\x01\x01\x11\0"s);
}

const std::string kJPEGStart = "\xff\xd8"s + segment(0xe0, "JFIF\0\x01\x01\0\0\x01\0\x01\0\0"s);

TEST(ImageType, IsFoundInRealImages) {
  EXPECT_EQ(typeOf(readFile(dataFile("cover_red.png"))), kArtworkPNG);
  EXPECT_EQ(typeOf(readFile(dataFile("cover_blue.jpg"))), kArtworkJPEG);
  EXPECT_EQ(typeOf(readFile(dataFile("cover.tiff"))), kArtworkTIFF);
  EXPECT_EQ(typeOf(readFile(dataFile("cover.gif"))), kArtworkGIF);
  EXPECT_EQ(typeOf(readFile(dataFile("cover.bmp"))), kArtworkBMP);
}

TEST(ImageType, IsToldByTheFirstBytesAlone) {
  EXPECT_EQ(typeOf("\x89PNG\r\n\x1a\n"), kArtworkPNG);
  EXPECT_EQ(typeOf("\xff\xd8\xff"), kArtworkJPEG);
  EXPECT_EQ(typeOf("II*\0"s), kArtworkTIFF);
  EXPECT_EQ(typeOf("MM\0*"s), kArtworkTIFF);
  EXPECT_EQ(typeOf("GIF87a"), kArtworkGIF);
  EXPECT_EQ(typeOf("GIF89a"), kArtworkGIF);
  EXPECT_EQ(typeOf("BM"), kArtworkBMP);
}

TEST(ImageType, IsUnknownForEverythingElse) {
  for (const std::string& bytes : {""s,
                                   "\0"s,
                                   "\x89PNG\n\x1a\n"s,
                                   "\x89PNG\r\n\x1a"s,
                                   "\x89png\r\n\x1a\n"s,
                                   "\xff\xd8"s,
                                   "\xff\xd8\0"s,
                                   "II*"s,
                                   "II\0*"s,
                                   "MM*\0"s,
                                   "GIF88a"s,
                                   "GIF89b"s,
                                   "gif89a"s,
                                   "GIF89"s,
                                   "B"s,
                                   "bm"s,
                                   "RIFF\x10\0\0\0WEBPVP8 "s,
                                   "<svg/>"s,
                                   " BM"s,
                                   "ID3\x04"s}) {
    EXPECT_EQ(typeOf(bytes), std::nullopt) << testing::PrintToString(bytes);
    EXPECT_EQ(sizeOf(bytes), std::nullopt) << testing::PrintToString(bytes);
  }
}

TEST(ImageDimensions, AreFoundInRealImages) {
  for (const char* name : {"cover_red.png", "cover_blue.jpg", "cover.gif", "cover.bmp"}) {
    EXPECT_EQ(sizeOf(readFile(dataFile(name))), (Dimensions{8, 8})) << name;
  }
  EXPECT_EQ(sizeOf(readFile(dataFile("cover.tiff"))), std::nullopt);
}

TEST(ImageDimensions, OfAPNG) {
  EXPECT_EQ(sizeOf(png(1, 2)), (Dimensions{1, 2}));
  EXPECT_EQ(sizeOf(png(3000, 70000)), (Dimensions{3000, 70000}));
  EXPECT_EQ(sizeOf(png(0x7fffffff, 0x01020304)), (Dimensions{0x7fffffff, 0x01020304}));
}

TEST(ImageDimensions, OfAGIF) {
  EXPECT_EQ(sizeOf(gif("GIF87a", 0x0102, 3)), (Dimensions{0x0102, 3}));
  EXPECT_EQ(sizeOf(gif("GIF89a", 4, 0xfffe)), (Dimensions{4, 0xfffe}));
}

TEST(ImageDimensions, OfABMP) {
  EXPECT_EQ(sizeOf(bmp(40, 0x010203, 5)), (Dimensions{0x010203, 5}));
  EXPECT_EQ(sizeOf(bmp(124, 6, 7)), (Dimensions{6, 7}));
}

/// Its rows begin at the top, which a negative height says.
TEST(ImageDimensions, OfABMPThatIsNotUpsideDown) {
  EXPECT_EQ(sizeOf(bmp(40, 5, static_cast<unsigned>(-6))), (Dimensions{5, 6}));
  EXPECT_EQ(sizeOf(bmp(40, 5, 0x80000000U)), (Dimensions{5, 0x80000000U}));
}

/// The oldest header is shorter and has its numbers in two bytes each.
TEST(ImageDimensions, OfABMPWithTheOldestHeaderAreNotMadeUp) {
  const std::string image = "BM"s + std::string(12, '\0') + littleEndian(12, 4) +
                            littleEndian(8, 2) + littleEndian(9, 2) + "\x01\0\x18\0"s +
                            std::string(8, '\0');
  const auto dimensions = sizeOf(image);
  EXPECT_TRUE(!dimensions || *dimensions == (Dimensions{8, 9}))
      << testing::PrintToString(*dimensions);
}

TEST(ImageDimensions, OfAJPEG) {
  EXPECT_EQ(sizeOf(kJPEGStart + frame(0xc0, 640, 480)), (Dimensions{640, 480}));
  EXPECT_EQ(sizeOf("\xff\xd8"s + frame(0xc0, 65535, 1)), (Dimensions{65535, 1}));
}

TEST(ImageDimensions, OfAJPEGOfEachKindOfFrame) {
  for (const unsigned marker :
       {0xc0, 0xc1, 0xc2, 0xc3, 0xc5, 0xc6, 0xc7, 0xc9, 0xca, 0xcb, 0xcd, 0xce, 0xcf}) {
    EXPECT_EQ(sizeOf(kJPEGStart + frame(static_cast<unsigned char>(marker), 12, 34)),
              (Dimensions{12, 34}))
        << marker;
  }
}

/// Huffman tables, the reserved marker and arithmetic conditioning look like frames by their
/// number.
TEST(ImageDimensions, OfAJPEGBehindOtherSegments) {
  for (const unsigned marker : {0xc4, 0xc8, 0xcc, 0xdb, 0xe1, 0xfe}) {
    EXPECT_EQ(sizeOf(kJPEGStart + frame(static_cast<unsigned char>(marker), 99, 99) +
                     frame(0xc2, 12, 34)),
              (Dimensions{12, 34}))
        << marker;
  }
  const std::string thumbnail = "Exif\0\0"s + kJPEGStart + frame(0xc0, 160, 120);
  EXPECT_EQ(sizeOf("\xff\xd8"s + segment(0xe1, thumbnail) + frame(0xc0, 1600, 1200)),
            (Dimensions{1600, 1200}));
  EXPECT_EQ(sizeOf(kJPEGStart + segment(0xe2, std::string(65533, '\xff')) + frame(0xc0, 3, 4)),
            (Dimensions{3, 4}));
}

TEST(ImageDimensions, OfAJPEGBehindFillBytes) {
  EXPECT_EQ(sizeOf(kJPEGStart + "\xff\xff\xff"s + frame(0xc0, 12, 34)), (Dimensions{12, 34}));
}

TEST(ImageDimensions, AreUnknownWithoutAFrame) {
  EXPECT_EQ(sizeOf(kJPEGStart), std::nullopt);
  EXPECT_EQ(sizeOf(kJPEGStart + std::string(1000, '\xff')), std::nullopt);
  EXPECT_EQ(sizeOf(kJPEGStart + "x"s + frame(0xc0, 12, 34)), std::nullopt);
  EXPECT_EQ(sizeOf("\xff\xd8\xff\xe0\0\0"s + std::string(100, '\0')), std::nullopt);
}

TEST(ImageDimensions, AreUnknownWhenOneIsZero) {
  for (const auto& [width, height] : {std::pair(0U, 5U), std::pair(5U, 0U), std::pair(0U, 0U)}) {
    EXPECT_EQ(sizeOf(png(width, height)), std::nullopt);
    EXPECT_EQ(sizeOf(gif("GIF89a", width, height)), std::nullopt);
    EXPECT_EQ(sizeOf(bmp(40, width, height)), std::nullopt);
    EXPECT_EQ(sizeOf(kJPEGStart + frame(0xc0, width, height)), std::nullopt);
  }
}

TEST(ImageDimensions, AreRightOrUnknownWhereverTheImageEnds) {
  const std::pair<std::string, Dimensions> images[] = {
      {readFile(dataFile("cover_red.png")), {8, 8}},
      {readFile(dataFile("cover_blue.jpg")), {8, 8}},
      {readFile(dataFile("cover.gif")), {8, 8}},
      {readFile(dataFile("cover.bmp")), {8, 8}},
      {png(0x01020304, 0x05060708), {0x01020304, 0x05060708}},
      {gif("GIF89a", 0x0102, 0x0304), {0x0102, 0x0304}},
      {bmp(40, 0x01020304, 0x05060708), {0x01020304, 0x05060708}},
      {kJPEGStart + segment(0xdb, std::string(64, '\x01')) + frame(0xc2, 0x0102, 0x0304),
       {0x0102, 0x0304}},
  };
  for (const auto& [image, dimensions] : images) {
    EXPECT_EQ(sizeOf(image), dimensions);
    for (std::size_t size = 0; size < image.size(); ++size) {
      const auto found = sizeOf(image.substr(0, size));
      EXPECT_TRUE(!found || *found == dimensions) << size;
    }
  }
  const std::string tiff = readFile(dataFile("cover.tiff"));
  for (std::size_t size = 0; size < tiff.size(); ++size) {
    EXPECT_EQ(sizeOf(tiff.substr(0, size)), std::nullopt);
  }
}

/// Whatever follows the first bytes, the search ends and stays within the image.
TEST(ImageDimensions, AreLookedForInAnyBytes) {
  std::uint32_t state = 1;
  const auto next = [&] { return state = state * 1664525U + 1013904223U; };
  for (int round = 0; round < 3000; ++round) {
    std::string bytes = round % 2 ? "\xff\xd8\xff"s : kJPEGStart;
    const std::size_t size = next() >> 24;
    for (std::size_t i = 0; i < size; ++i) {
      // Many markers, and many small lengths behind them.
      const std::uint32_t choice = next();
      bytes += choice >> 31 ? '\xff' : static_cast<char>(choice >> (choice & 16 ? 8 : 27));
    }
    const auto found = sizeOf(bytes);
    EXPECT_TRUE(!found || (found->width > 0 && found->height > 0));
  }
}

}  // namespace
}  // namespace tagwriter::test

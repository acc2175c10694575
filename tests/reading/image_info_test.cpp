// What images say about their format and size, be they whole, truncated or damaged.
#include "reading/image_info.h"

#include <gtest/gtest.h>

#include <memory>

#include "protocol/artwork_type.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

using namespace std::string_literals;

/// Bytes in an allocation of exactly their size, so that AddressSanitizer notices a read past them.
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
  return artworkTypeOf(Exact(image));
}

/// "8x9", or nothing.
std::string sizeOf(const std::string& image) {
  const auto size = dimensionsOf(Exact(image));
  return size ? std::to_string(size->width) + "x" + std::to_string(size->height) : "";
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

TEST(ImageType, IsFoundInTheFirstBytes) {
  const std::pair<const char*, ArtworkType> files[] = {{"cover_red.png", kArtworkPNG},
                                                       {"cover_blue.jpg", kArtworkJPEG},
                                                       {"cover.tiff", kArtworkTIFF},
                                                       {"cover.gif", kArtworkGIF},
                                                       {"cover.bmp", kArtworkBMP}};
  for (const auto& [name, type] : files) EXPECT_EQ(typeOf(readFile(dataFile(name))), type) << name;
  EXPECT_EQ(typeOf("GIF87a"), kArtworkGIF);
  EXPECT_EQ(typeOf("MM\0*"s), kArtworkTIFF);

  const std::string signatures[] = {"\x89PNG\r\n\x1a\n", "\xff\xd8\xff", "II*\0"s, "GIF89a", "BM"};
  for (const std::string& signature : signatures) {
    EXPECT_TRUE(typeOf(signature));
    EXPECT_FALSE(typeOf(signature.substr(0, signature.size() - 1)));
    EXPECT_FALSE(typeOf(" " + signature));
    for (std::size_t i = 0; i < signature.size(); ++i) {
      std::string other = signature;
      other[i] ^= 0x20;
      EXPECT_FALSE(typeOf(other)) << testing::PrintToString(other);
      EXPECT_EQ(sizeOf(other), "");
    }
  }
  for (const std::string& other : {""s, "GIF88a"s, "RIFF\x10\0\0\0WEBPVP8 "s, "<svg/>"s}) {
    EXPECT_FALSE(typeOf(other)) << other;
  }
}

TEST(ImageDimensions, AreThoseOfTheHeader) {
  const std::pair<std::string, std::string> images[] = {
      {readFile(dataFile("cover_red.png")), "8x8"},
      {readFile(dataFile("cover_blue.jpg")), "8x8"},
      {readFile(dataFile("cover.gif")), "8x8"},
      {readFile(dataFile("cover.bmp")), "8x8"},
      {readFile(dataFile("cover.tiff")), ""},
      {png(3000, 70000), "3000x70000"},
      {png(0x7fffffff, 0x01020304), "2147483647x16909060"},
      {gif("GIF87a", 258, 3), "258x3"},
      {gif("GIF89a", 4, 65534), "4x65534"},
      {bmp(40, 66051, 5), "66051x5"},
      {bmp(124, 6, 7), "6x7"},
      {bmp(40, 5, static_cast<unsigned>(-6)), "5x6"},  // its rows begin at the top
      {bmp(40, 5, 0x80000000U), "5x2147483648"},
      // The oldest header has numbers of 16 bits.
      {bmp(12, 8 | 9 << 16, 0), "8x9"},
      {kJPEGStart + frame(0xc0, 640, 480), "640x480"},
      {"\xff\xd8"s + frame(0xc0, 65535, 1), "65535x1"},
      // Behind fill bytes, behind a thumbnail and behind the longest segment.
      {kJPEGStart + "\xff\xff\xff"s + frame(0xc0, 12, 34), "12x34"},
      {"\xff\xd8"s + segment(0xe1, "Exif\0\0"s + kJPEGStart + frame(0xc0, 160, 120)) +
           frame(0xc0, 1600, 1200),
       "1600x1200"},
      {kJPEGStart + segment(0xe2, std::string(65533, '\xff')) + frame(0xc0, 3, 4), "3x4"},
      // No frame.
      {kJPEGStart, ""},
      {kJPEGStart + std::string(1000, '\xff'), ""},
      {kJPEGStart + "x"s + frame(0xc0, 12, 34), ""},
      {"\xff\xd8\xff\xe0\0\0"s + std::string(100, '\0'), ""},
  };
  for (const auto& [image, size] : images) {
    EXPECT_EQ(sizeOf(image), size);
    for (std::size_t end = 0; end < std::min<std::size_t>(image.size(), 2000); ++end) {
      const std::string found = sizeOf(image.substr(0, end));
      EXPECT_TRUE(found.empty() || found == size) << found << " of " << end << " bytes";
    }
  }
  for (const auto& [width, height] : {std::pair(0U, 5U), {5U, 0U}, {0U, 0U}}) {
    for (const std::string& image :
         {png(width, height), gif("GIF89a", width, height), bmp(40, width, height),
          kJPEGStart + frame(0xc0, width, height)}) {
      EXPECT_EQ(sizeOf(image), "") << width << " " << height;
    }
  }
}

TEST(ImageDimensions, OfAJPEGAreInItsFirstFrame) {
  for (unsigned marker = 0xc0; marker <= 0xcf; ++marker) {
    // Huffman tables, a reserved marker and arithmetic coding tables have numbers among the frames.
    const bool isFrame = marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
    EXPECT_EQ(sizeOf(kJPEGStart + frame(static_cast<unsigned char>(marker), 12, 34) +
                     frame(0xc2, 56, 78)),
              isFrame ? "12x34" : "56x78")
        << marker;
  }
}

}  // namespace
}  // namespace tagwriter::test

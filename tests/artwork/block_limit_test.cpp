// The largest pictures. A FLAC metadata block holds 16 MiB - 1 bytes; what does not fit is refused.
#include <fileref.h>
#include <flacpicture.h>
#include <gtest/gtest.h>
#include <tag.h>
#include <xiphcomment.h>

#include <filesystem>

#include "io/save.h"
#include "tests/artwork/artwork_requests.h"
#include "tests/artwork/stored_pictures.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

constexpr std::size_t kMaxBlock = 16777215;

class BlockLimit : public testing::Test {
 protected:
  void expectRefused(const std::string& path, const std::string& image, std::int64_t type) {
    const std::string before = readFile(path);
    const WriteWatch watch(path);
    EXPECT_FALSE(write(path, image, type, true));
    EXPECT_FALSE(watch.written());
    EXPECT_TRUE(readFile(path) == before) << "the file has changed";
  }

  TemporaryDirectory directory_;
};

/// Eight numbers of four bytes and the MIME type stand before the image.
TEST_F(BlockLimit, OfAFLACPicture) {
  const std::pair<std::int64_t, std::size_t> mimeTypes[] = {{0, 0}, {1, 9}, {2, 10}};
  for (const auto& [type, mimeTypeSize] : mimeTypes) {
    SCOPED_TRACE(type);
    const std::size_t largest = kMaxBlock - 8 * 4 - mimeTypeSize;
    const std::string path = directory_.copyOf("flac_pictures.flac");
    expectRefused(path, imageOf(largest + 1), type);
    const std::string image = imageOf(largest);
    EXPECT_TRUE(write(path, image, type, true));
    EXPECT_EQ(picturesIn(Kind::kFLAC, path), Pictures{frontCover(Family::kFLAC, type, image)});
  }
}

TEST_F(BlockLimit, IsFarExceeded) {
  expectRefused(directory_.copyOf("flac_plain.flac"), std::string(20000000, 'x'), 1);
  expectRefused(plainCopy(directory_, formatNamed("oga_flac")), std::string(20000000, 'x'), 1);
}

/// The comment's bytes without pictures (Vorbis I, 5.2.1), its framing bit not among them.
std::size_t sizeOf(const TagLib::Ogg::XiphComment& comment) {
  std::size_t size = 4 + textOf(comment.vendorID().data(TagLib::String::UTF8)).size() + 4;
  for (const auto& [name, values] : comment.fieldListMap()) {
    for (const auto& value : values) {
      size += 4 + (name + "=" + value).data(TagLib::String::UTF8).size();
    }
  }
  return size;
}

/// The whole comment is one block, and the picture is in it in base64.
TEST_F(BlockLimit, OfAnOggFLACComment) {
  constexpr std::size_t kImageSize = 12000000;
  constexpr std::size_t kBase64Size = (kImageSize + 8 * 4 + 2) / 3 * 4;
  constexpr std::size_t kFieldSize = 4 + sizeof "METADATA_BLOCK_PICTURE=" - 1 + kBase64Size;
  for (const std::size_t excess : {1U, 0U}) {
    const std::string path = plainCopy(directory_, formatNamed("oga_flac"));
    {
      TagLib::Ogg::FLAC::File file(path.c_str(), false);
      const std::size_t others = sizeOf(*file.tag()) + 4 + sizeof "FILLER=" - 1;
      const std::string filler(kMaxBlock - others - kFieldSize + excess, 'x');
      file.tag()->addField("FILLER", filler);
      ASSERT_TRUE(file.save());
    }
    const std::string image = imageOf(kImageSize);
    if (excess) {
      expectRefused(path, image, 0);
      continue;
    }
    EXPECT_TRUE(write(path, image, 0, true));
    EXPECT_EQ(picturesIn(Kind::kOggFLAC, path), Pictures{frontCover(Family::kXiph, 0, image)});
    TagLib::Ogg::FLAC::File file(path.c_str(), false);
    EXPECT_EQ(textOf(file.packet(1).mid(0, 4)), "\x04\xff\xff\xff");
    EXPECT_EQ(file.packet(1).size(), 4 + kMaxBlock);
  }
}

TEST_F(BlockLimit, IsNoneInVorbisAndOpusFiles) {
  const std::string image = imageOf(20000000);
  for (const Format& format : {formatNamed("ogg"), formatNamed("opus")}) {
    const std::string path = plainCopy(directory_, format);
    EXPECT_TRUE(write(path, image, 1, true)) << format;
    EXPECT_EQ(picturesIn(format.kind, path), Pictures{frontCover(Family::kXiph, 1, image)});
  }
}

/// Both ways of saving hold to it, whatever was edited: true for a file reference.
class BlockLimitOfASave : public BlockLimit, public testing::WithParamInterface<bool> {
 protected:
  /// Opens a copy of a FLAC file, lets edit(file) fill a block up to the limit or one byte beyond,
  /// and saves. Only what fits is written.
  template <typename Edit>
  void check(const Edit& edit) {
    const std::string path = directory_.copyOf("flac_plain.flac");
    for (const std::size_t excess : {1U, 0U}) {
      const WriteWatch watch(path);
      TagLib::FileRef reference(path.c_str(), false);
      auto& file = dynamic_cast<TagLib::FLAC::File&>(*reference.file());
      edit(file, excess);
      EXPECT_EQ(GetParam() ? saveReference(reference) : saveFile(file), excess == 0);
      EXPECT_EQ(watch.written(), excess == 0);
    }
    EXPECT_GT(std::filesystem::file_size(path), kMaxBlock);
  }
};

TEST_P(BlockLimitOfASave, HoldsForTheCommentOfAFLACFile) {
  check([](TagLib::FLAC::File& file, std::size_t excess) {
    TagLib::Ogg::XiphComment& comment = *file.xiphComment(true);
    const std::size_t others = sizeOf(comment) + 4 + sizeof "FILLER=" - 1;
    comment.addField("FILLER", std::string(kMaxBlock - others + excess, 'x'));
  });
}

/// The texts of a picture count in UTF-8.
TEST_P(BlockLimitOfASave, CountsTheDescriptionOfAPicture) {
  check([](TagLib::FLAC::File& file, std::size_t excess) {
    auto* picture = new TagLib::FLAC::Picture;
    picture->setMimeType("image/png");
    picture->setDescription(TagLib::String("\xc3\xa4\xe2\x82\xac", TagLib::String::UTF8));
    picture->setData(TagLib::ByteVector(static_cast<unsigned>(kMaxBlock - 32 - 9 - 5 + excess), 0));
    file.addPicture(picture);
  });
}

/// Texts that fill the block by themselves.
TEST_P(BlockLimitOfASave, CountsALongDescriptionOfAPicture) {
  check([](TagLib::FLAC::File& file, std::size_t excess) {
    auto* picture = new TagLib::FLAC::Picture;
    picture->setDescription(std::string(kMaxBlock - 32 + excess, 'x'));
    file.addPicture(picture);
  });
}

INSTANTIATE_TEST_SUITE_P(Ways, BlockLimitOfASave, testing::Bool(),
                         [](const testing::TestParamInfo<bool>& info) {
                           return info.param ? "reference" : "file";
                         });

TEST_F(BlockLimit, IsNotAskedOfOtherFormats) {
  const std::string path = directory_.copyOf("mp3_plain.mp3");
  TagLib::FileRef reference(path.c_str(), false);
  reference.tag()->setTitle(std::string(kMaxBlock + 1, 'x'));
  EXPECT_TRUE(saveReference(reference));
  EXPECT_GT(std::filesystem::file_size(path), kMaxBlock);
}

}  // namespace
}  // namespace tagwriter::test

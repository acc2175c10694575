// Saving Ogg FLAC files, whose metadata the tag library would damage.
#include <fileref.h>
#include <gtest/gtest.h>
#include <oggflacfile.h>
#include <tpropertymap.h>
#include <xiphcomment.h>

#include "io/save.h"
#include "tests/formats/core_writers.h"
#include "tests/formats/ogg_pages.h"
#include "tests/formats/tag_write_fixture.h"

namespace tagwriter::test {
namespace {

// The first byte of a block's header (FLAC format, METADATA_BLOCK_HEADER).
constexpr char kLast = '\x80';
constexpr char kPadding = 1;
constexpr char kApplication = 2;
constexpr char kComment = 4;

/// The blocks of tests/data/flac.oga behind the stream's header: the comment, which is the last.
std::string commentBlock() {
  return oggPages(readFile(dataFile("flac.oga")))[1].body;
}

/// A metadata block of this type with 100 bytes.
std::string block(char type) {
  return std::string{type, 0, 0, 100} + std::string(100, 'x');
}

std::string retyped(std::string block, char type) {
  block[0] = type;
  return block;
}

/// tests/data/flac.oga with these metadata blocks behind the stream's header.
std::string oggFlacWith(const std::vector<std::string>& blocks) {
  std::vector<OggPage> pages = oggPages(readFile(dataFile("flac.oga")));
  const OggPage model = pages[1];
  // Behind the signature and the version comes the number of these packets (Ogg mapping of FLAC).
  pages[0].body.replace(7, 2, std::string{0, static_cast<char>(blocks.size())});
  pages.erase(pages.begin() + 1);
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    pages.insert(pages.begin() + 1 + static_cast<long>(i), oggPage(model, blocks[i]));
  }
  return oggFile(pages);
}

/// The type bytes of the first `count` packets behind the stream's header.
std::string blockTypes(const std::string& path, std::size_t count) {
  TagLib::Ogg::FLAC::File file(path.c_str(), false);
  std::string types;
  for (unsigned i = 1; i <= count; ++i) types += file.packet(i)[0];
  return types;
}

class SaveOggFlacTest : public TagWriteTest {
 protected:
  /// One write of each kind to the file at `path`, which must take it and stay readable.
  void expectWritable(const std::string& path) {
    const RecordingEditors editors;
    EXPECT_TRUE(write(path, editors));
    EXPECT_TRUE(writeTheTitle(path, "New"));
    TagLib::Ogg::FLAC::File file(path.c_str(), true);
    ASSERT_TRUE(file.isValid());
    EXPECT_EQ(file.tag()->title(), "New");
    EXPECT_EQ(file.tag()->artist().to8Bit(true), "Zoë Müller");
    EXPECT_EQ(file.tag()->properties()["COMPOSER"].toString(), kMark);
    EXPECT_EQ(file.audioProperties()->lengthInMilliseconds(), 400);
  }

  bool writeTheTitle(const std::string& path, const char* title) {
    const HandedOver file(path);
    return writeTitle(file.fd(), path.c_str(), title, request_);
  }
};

TEST_F(SaveOggFlacTest, TakesApartWhatItPutsTogether) {
  const std::string bytes = readFile(dataFile("flac.oga"));
  EXPECT_EQ(oggFile(oggPages(bytes)), bytes);
  EXPECT_EQ(oggFlacWith({commentBlock()}), bytes);
}

TEST_F(SaveOggFlacTest, KeepsTheMarkOfTheLastBlockOnTheComment) {
  const std::string path = directory_.copyOf("flac.oga");
  ASSERT_EQ(blockTypes(path, 1), std::string{kComment | kLast});
  for (int round = 0; round < 3; ++round) {
    expectWritable(path);
    EXPECT_EQ(blockTypes(path, 1), std::string{kComment | kLast});
  }
}

TEST_F(SaveOggFlacTest, KeepsTheMarkOnACommentThatNeedsSeveralPages) {
  const std::string path = directory_.copyOf("flac.oga");
  for (const std::size_t length : {200'000, 1, 70'000}) {
    EXPECT_TRUE(writeTheTitle(path, std::string(length, 'x').c_str()));
    const TagLib::Ogg::FLAC::File file(path.c_str(), false);
    ASSERT_TRUE(file.isValid());
    EXPECT_EQ(file.tag()->title().size(), length);
    EXPECT_EQ(blockTypes(path, 1), std::string{kComment | kLast});
  }
  expectWritable(path);
}

TEST_F(SaveOggFlacTest, LeavesTheMarkOnTheBlockThatIsTheLast) {
  const std::string path = directory_.write(
      "a.oga", oggFlacWith({retyped(commentBlock(), kComment), block(kPadding | kLast)}));
  expectWritable(path);
  EXPECT_EQ(blockTypes(path, 2), (std::string{kComment, kPadding | kLast}));
}

TEST_F(SaveOggFlacTest, FindsACommentBehindOtherBlocks) {
  const std::string path = directory_.write(
      "a.oga", oggFlacWith({block(kApplication), block(kPadding), commentBlock()}));
  expectWritable(path);
  EXPECT_EQ(blockTypes(path, 3), (std::string{kApplication, kPadding, kComment | kLast}));
}

TEST_F(SaveOggFlacTest, RefusesAFileWithoutAComment) {
  const std::string bytes = oggFlacWith({block(kPadding | kLast)});
  const std::string path = directory_.write("a.oga", bytes);
  ASSERT_TRUE(TagLib::Ogg::FLAC::File(path.c_str(), true).isValid());
  const RecordingEditors editors;
  EXPECT_FALSE(write(path, editors));
  EXPECT_FALSE(writeTheTitle(path, "New"));
  EXPECT_EQ(readFile(path), bytes);
  EXPECT_EQ(log_.text(), "");
}

TEST_F(SaveOggFlacTest, RefusesToSaveThroughADescriptorForReadingOnly) {
  const std::string path = directory_.copyOf("flac.oga");
  const RecordingEditors editors;
  EXPECT_FALSE(write(path, editors, O_RDONLY));
  EXPECT_EQ(readFile(path), readFile(dataFile("flac.oga")));
}

}  // namespace
}  // namespace tagwriter::test

// Saving respects the size limits of the format, and prevents damage that TagLib's save() can do.
// Everything is saved both as a file and through a FileRef.
#include "io/save.h"

#include <asftag.h>
#include <fcntl.h>
#include <flacpicture.h>
#include <gtest/gtest.h>
#include <xiphcomment.h>

#include "io/fd_file_stream.h"
#include "tests/support/ogg_pages.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

using TagLib::String;
using TagLib::Ogg::XiphComment;
using OggFlacFile = TagLib::Ogg::FLAC::File;
using FlacFile = TagLib::FLAC::File;

constexpr unsigned kMaxBlock = (1U << 24) - 1;

/// Adds a field that makes the comment's block `size` bytes long.
void fillUp(XiphComment& comment, unsigned size) {
  comment.addField("FILL", "x", true);
  const unsigned without = comment.render(false).size() - 1;
  comment.addField("FILL", String(std::string(size - without, 'x')), true);
  ASSERT_EQ(comment.render(false).size(), size);
}

/// A picture whose block is `size` bytes long. Its description is longer in UTF-8 than in
/// characters.
TagLib::FLAC::Picture* pictureOf(unsigned size) {
  auto* picture = new TagLib::FLAC::Picture;
  picture->setMimeType("image/png");
  picture->setDescription(String("Ōsaka", String::UTF8));
  const unsigned without = picture->render().size();
  picture->setData(TagLib::ByteVector(size - without, 'x'));
  EXPECT_EQ(picture->render().size(), size);
  return picture;
}

class SaveTest : public testing::TestWithParam<bool> {
 protected:
  /// Opens the file as a `File`, calls edit(file) and saves.
  template <typename File, typename Edit>
  static bool save(const std::string& path, const Edit& edit) {
    if (GetParam()) {
      TagLib::FileRef reference(path.c_str(), false);
      edit(dynamic_cast<File&>(*reference.file()));
      return saveReference(reference);
    }
    File file(path.c_str(), false);
    edit(file);
    return saveFile(file);
  }

  /// The same with a copy of a data file, which must not change.
  template <typename File, typename Edit>
  void expectRefused(const char* name, const Edit& edit) {
    const std::string path = directory_.copyOf(name);
    EXPECT_FALSE(save<File>(path, edit));
    EXPECT_TRUE(readFile(path) == readFile(dataFile(name)));
  }

  TemporaryDirectory directory_;
};

TEST_P(SaveTest, TakesACommentOfUpTo16MiBInFlac) {
  const std::string path = directory_.copyOf("flac_plain.flac");
  EXPECT_TRUE(save<FlacFile>(path, [](auto& file) { fillUp(*file.xiphComment(true), kMaxBlock); }));
  FlacFile file(path.c_str(), false);
  ASSERT_TRUE(file.isValid() && file.hasXiphComment());
  EXPECT_EQ(file.xiphComment()->render(false).size(), kMaxBlock);
  expectRefused<FlacFile>("flac_plain.flac",
                          [](auto& f) { fillUp(*f.xiphComment(true), kMaxBlock + 1); });
}

TEST_P(SaveTest, TakesPicturesOfUpTo16MiBInFlac) {
  const std::string path = directory_.copyOf("flac_plain.flac");
  EXPECT_TRUE(save<FlacFile>(path, [](auto& file) { file.addPicture(pictureOf(kMaxBlock)); }));
  FlacFile file(path.c_str(), false);
  ASSERT_EQ(file.pictureList().size(), 1u);
  EXPECT_EQ(file.pictureList().front()->render().size(), kMaxBlock);

  for (const unsigned tooLarge : {kMaxBlock + 1, kMaxBlock + 40, 2 * kMaxBlock}) {
    expectRefused<FlacFile>("flac_plain.flac", [&](auto& f) {
      for (const unsigned size : {1000u, tooLarge, 1000u}) f.addPicture(pictureOf(size));
    });
  }
  const String longText(std::string(kMaxBlock - 990, 'x'));
  expectRefused<FlacFile>("flac_plain.flac", [&](auto& f) {
    f.addPicture(pictureOf(1000));
    f.pictureList().front()->setMimeType(longText);
  });
  expectRefused<FlacFile>("flac_plain.flac", [&](auto& f) {
    f.addPicture(pictureOf(1000));
    f.pictureList().front()->setDescription(longText);
  });
}

TEST_P(SaveTest, TakesACommentOfUpTo16MiBInOggFlac) {
  expectRefused<OggFlacFile>("flac.oga", [](auto& f) { fillUp(*f.tag(), kMaxBlock + 1); });
  EXPECT_TRUE(save<OggFlacFile>(directory_.copyOf("flac.oga"),
                                [](auto& f) { fillUp(*f.tag(), kMaxBlock); }));
}

TEST_P(SaveTest, TakesTextsOfUpTo16BitsInWma) {
  using Tag = TagLib::ASF::Tag;
  const String longest(std::string(0x7ffe, 'x'));
  const String tooLong(std::string(0x7fff, 'x'));
  for (void (Tag::*set)(const String&) :
       {&Tag::setTitle, &Tag::setArtist, &Tag::setCopyright, &Tag::setComment, &Tag::setRating}) {
    expectRefused<TagLib::ASF::File>("wma_plain.wma", [&](auto& f) { (f.tag()->*set)(tooLong); });
    EXPECT_TRUE(save<TagLib::ASF::File>(directory_.copyOf("wma_plain.wma"),
                                        [&](auto& f) { (f.tag()->*set)(longest); }));
  }
}

// The first byte of a block's header (FLAC format, METADATA_BLOCK_HEADER).
constexpr char kLast = '\x80';
constexpr char kPadding = 1;
constexpr char kApplication = 2;
constexpr char kComment = 4;

/// A metadata block of this type with 100 bytes.
std::string block(char type) {
  return std::string{type, 0, 0, 100} + std::string(100, 'x');
}

/// The comment of tests/data/flac.oga with this first byte.
std::string comment(char type) {
  return oggPages(readFile(dataFile("flac.oga")))[1].body.replace(0, 1, 1, type);
}

/// tests/data/flac.oga with these metadata blocks behind the stream's header.
std::string oggFlacWith(const std::vector<std::string>& blocks) {
  std::vector<OggPage> pages = oggPages(readFile(dataFile("flac.oga")));
  const OggPage model = pages[1];
  // The number of these packets follows the signature and the version (Ogg mapping of FLAC).
  pages[0].body.replace(7, 2, std::string{0, static_cast<char>(blocks.size())});
  pages.erase(pages.begin() + 1);
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    pages.insert(pages.begin() + 1 + static_cast<long>(i), oggPage(model, blocks[i]));
  }
  return oggFile(pages);
}

TEST_P(SaveTest, KeepsTheMarkOfTheLastBlockInOggFlac) {
  const std::vector<std::vector<std::string>> layouts = {
      {comment(kComment | kLast)},
      {comment(kComment), block(kPadding | kLast)},
      {block(kApplication), block(kPadding), comment(kComment | kLast)}};
  for (const auto& blocks : layouts) {
    const std::string path = directory_.write("a.oga", oggFlacWith(blocks));
    for (const unsigned length : {3u, 200'000u, 1u, 70'000u}) {  // on one page and on several
      SCOPED_TRACE(length);
      EXPECT_TRUE(save<OggFlacFile>(
          path, [&](auto& file) { file.tag()->setTitle(String(std::string(length, 'x'))); }));
      OggFlacFile file(path.c_str(), true);
      ASSERT_TRUE(file.isValid());
      EXPECT_EQ(file.tag()->title().size(), length);
      EXPECT_EQ(file.tag()->artist().to8Bit(true), "Zoë Müller");
      EXPECT_EQ(file.audioProperties()->lengthInMilliseconds(), 400);
      for (unsigned i = 0; i < blocks.size(); ++i) EXPECT_EQ(file.packet(i + 1)[0], blocks[i][0]);
    }
  }
}

TEST_P(SaveTest, RefusesAnOggFlacFileWithoutAComment) {
  const std::string bytes = oggFlacWith({block(kPadding | kLast)});
  const std::string path = directory_.write("a.oga", bytes);
  EXPECT_FALSE(save<OggFlacFile>(path, [](auto& file) { file.tag()->setTitle("New"); }));
  EXPECT_EQ(readFile(path), bytes);
}

INSTANTIATE_TEST_SUITE_P(Ways, SaveTest, testing::Bool(),
                         [](const auto& way) { return way.param ? "ThroughAFileRef" : "AsAFile"; });

TEST(SaveFile, FailsOnAnOggFlacFileThatIsReadOnly) {
  const std::string path = dataFile("flac.oga");
  TagLib::FDFileStream stream(openFile(path, O_RDONLY).release(), path.c_str(), nullptr);
  OggFlacFile file(&stream, false);
  file.tag()->setTitle("New");
  EXPECT_FALSE(saveFile(file));
}

TEST(SaveFile, WritesAnId3v1TagOnlyWhereThereIsOne) {
  const TemporaryDirectory directory;
  for (const char* name : {"mp3_id3v23.mp3", "mp3_id3v24_id3v1.mp3"}) {
    const std::string path = directory.copyOf(name);
    {
      TagLib::MPEG::File file(path.c_str(), false);
      file.tag()->setTitle("New");
      EXPECT_TRUE(saveFile(file));
    }
    const std::string before = readFile(dataFile(name));
    const std::string after = readFile(path);
    const bool had = before.substr(before.size() - 128, 3) == "TAG";
    EXPECT_EQ(had, name == std::string("mp3_id3v24_id3v1.mp3"));
    EXPECT_EQ(after.substr(after.size() - 128, 6) == std::string("TAGNew"), had);
    EXPECT_EQ(after.substr(after.size() - 128, 3) == "TAG", had);
  }
}

}  // namespace
}  // namespace tagwriter::test

// Saving within the sizes of the format.
#include "io/save.h"

#include <gtest/gtest.h>
#include <oggflacfile.h>
#include <xiphcomment.h>

#include "protocol/value_dictionary.h"
#include "tests/formats/core_writers.h"
#include "tests/formats/handed_over.h"
#include "tests/formats/tag_write_fixture.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

using TagLib::ByteVector;
using TagLib::String;

constexpr unsigned kMaxBlock = (1U << 24) - 1;

/// A comment whose block is `size` bytes long, made of `comment` by one more field.
void fillUp(TagLib::Ogg::XiphComment& comment, unsigned size) {
  comment.addField("FILL", "x", true);
  const unsigned without = comment.render(false).size() - 1;
  comment.addField("FILL", String(std::string(size - without, 'x')), true);
  ASSERT_EQ(comment.render(false).size(), size);
}

/// A picture whose block is `size` bytes long. Its texts are longer in UTF-8 than in characters.
TagLib::FLAC::Picture* pictureOf(unsigned size) {
  auto* picture = new TagLib::FLAC::Picture;
  picture->setMimeType("image/png");
  picture->setDescription(String("Ōsaka", String::UTF8));
  const unsigned without = picture->render().size();
  picture->setData(ByteVector(size - without, 'x'));
  EXPECT_EQ(picture->render().size(), size);
  return picture;
}

class SaveTest : public TagWriteTest {
 protected:
  std::string flac_ = directory_.copyOf("flac_plain.flac");
  std::string oggFlac_ = directory_.copyOf("flac.oga");
};

TEST_F(SaveTest, SavesTheLongestCommentThatAFlacFileTakes) {
  {
    TagLib::FLAC::File file(flac_.c_str(), false);
    fillUp(*file.xiphComment(true), kMaxBlock);
    EXPECT_TRUE(saveFile(file));
  }
  TagLib::FLAC::File file(flac_.c_str(), false);
  ASSERT_TRUE(file.isValid() && file.hasXiphComment());
  EXPECT_EQ(file.xiphComment()->render(false).size(), kMaxBlock);
}

TEST_F(SaveTest, RefusesALongerCommentInAFlacFile) {
  {
    TagLib::FLAC::File file(flac_.c_str(), false);
    fillUp(*file.xiphComment(true), kMaxBlock + 1);
    EXPECT_FALSE(saveFile(file));
  }
  EXPECT_EQ(readFile(flac_), readFile(dataFile("flac_plain.flac")));
}

TEST_F(SaveTest, SavesTheLargestPictureThatAFlacFileTakes) {
  {
    TagLib::FLAC::File file(flac_.c_str(), false);
    file.addPicture(pictureOf(kMaxBlock));
    EXPECT_TRUE(saveFile(file));
  }
  TagLib::FLAC::File file(flac_.c_str(), false);
  ASSERT_EQ(file.pictureList().size(), 1u);
  EXPECT_EQ(file.pictureList().front()->render().size(), kMaxBlock);
}

TEST_F(SaveTest, RefusesALargerPictureAmongOthersInAFlacFile) {
  for (const unsigned tooLarge : {kMaxBlock + 1, kMaxBlock + 40, 2 * kMaxBlock}) {
    TagLib::FLAC::File file(flac_.c_str(), false);
    file.addPicture(pictureOf(1000));
    file.addPicture(pictureOf(tooLarge));
    file.addPicture(pictureOf(1000));
    EXPECT_FALSE(saveFile(file)) << tooLarge;
    EXPECT_EQ(readFile(flac_), readFile(dataFile("flac_plain.flac")));
  }
}

TEST_F(SaveTest, RefusesTextsThatMakeAPictureTooLarge) {
  for (const bool mimeType : {true, false}) {
    TagLib::FLAC::File file(flac_.c_str(), false);
    TagLib::FLAC::Picture* picture = pictureOf(1000);
    const String text(std::string(kMaxBlock - 990, 'x'));
    if (mimeType) {
      picture->setMimeType(text);
    } else {
      picture->setDescription(text);
    }
    file.addPicture(picture);
    EXPECT_FALSE(saveFile(file)) << mimeType;
  }
  EXPECT_EQ(readFile(flac_), readFile(dataFile("flac_plain.flac")));
}

TEST_F(SaveTest, RefusesALongerCommentInAnOggFlacFile) {
  {
    TagLib::Ogg::FLAC::File file(oggFlac_.c_str(), false);
    fillUp(*file.tag(), kMaxBlock + 1);
    EXPECT_FALSE(saveFile(file));
  }
  EXPECT_EQ(readFile(oggFlac_), readFile(dataFile("flac.oga")));
  TagLib::Ogg::FLAC::File file(oggFlac_.c_str(), false);
  fillUp(*file.tag(), kMaxBlock);
  EXPECT_TRUE(saveFile(file));
}

TEST_F(SaveTest, KnowsNoSuchLimitOfOtherFormats) {
  const std::string path = directory_.copyOf("vorbis_plain.ogg");
  const HandedOver file(path);
  EXPECT_TRUE(writeTitle(file.fd(), path.c_str(), std::string(kMaxBlock, 'x').c_str(), request_));
  EXPECT_GT(std::filesystem::file_size(path), kMaxBlock);
}

TEST_F(SaveTest, StandsBehindTheFormatDispatchedWrite) {
  RecordingEditors editors;
  editors.blocks.xiphBlock = [](TagLib::Ogg::XiphComment* tag) { fillUp(*tag, kMaxBlock + 1); };
  EXPECT_FALSE(write(flac_, editors));
  EXPECT_EQ(readFile(flac_), readFile(dataFile("flac_plain.flac")));
  EXPECT_FALSE(write(oggFlac_, editors));
  EXPECT_EQ(readFile(oggFlac_), readFile(dataFile("flac.oga")));
}

TEST_F(SaveTest, StandsBehindTheCoreFields) {
  const std::string tooLong(kMaxBlock, 'x');
  const HandedOver flac(flac_);
  EXPECT_FALSE(writeTitle(flac.fd(), flac_.c_str(), tooLong.c_str(), request_));
  EXPECT_EQ(readFile(flac_), readFile(dataFile("flac_plain.flac")));
  const HandedOver oggFlac(oggFlac_);
  EXPECT_FALSE(writeAlbum(oggFlac.fd(), oggFlac_.c_str(), tooLong.c_str(), request_));
  EXPECT_EQ(readFile(oggFlac_), readFile(dataFile("flac.oga")));
  EXPECT_EQ(log_.text(), "");
}

}  // namespace
}  // namespace tagwriter::test

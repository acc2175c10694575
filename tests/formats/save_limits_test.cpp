// Both ways of writing a tag save through io/save.h.
#include <gtest/gtest.h>
#include <oggflacfile.h>
#include <xiphcomment.h>

#include "tests/formats/core_writers.h"
#include "tests/formats/tag_write_fixture.h"

namespace tagwriter::test {
namespace {

class SaveLimitsTest : public TagWriteTest {
 protected:
  bool writeTheTitle(const std::string& path, const std::string& title) {
    const HandedOver file(path);
    return writeTitle(file.fd(), path.c_str(), title.c_str(), request_);
  }

  const std::string tooLong_ = std::string(1 << 24, 'x');
};

TEST_F(SaveLimitsTest, RefuseACommentThatFitsNoFlacBlock) {
  RecordingEditors editors;
  editors.blocks.xiphBlock = [this](TagLib::Ogg::XiphComment* tag) {
    tag->addField("FILL", tooLong_);
  };
  for (const char* name : {"flac_plain.flac", "flac.oga"}) {
    const std::string path = directory_.copyOf(name);
    EXPECT_FALSE(write(path, editors)) << name;
    EXPECT_FALSE(writeTheTitle(path, tooLong_)) << name;
    EXPECT_TRUE(readFile(path) == readFile(dataFile(name))) << name;
  }
  EXPECT_TRUE(writeTheTitle(directory_.copyOf("vorbis_plain.ogg"), tooLong_));
  EXPECT_EQ(log_.text(), "");
}

TEST_F(SaveLimitsTest, KeepTheMarkOfTheLastBlockInOggFlac) {
  const std::string path = directory_.copyOf("flac.oga");
  const RecordingEditors editors;
  for (int round = 0; round < 2; ++round) {
    EXPECT_TRUE(write(path, editors));
    EXPECT_TRUE(writeTheTitle(path, "New"));
    TagLib::Ogg::FLAC::File file(path.c_str(), true);
    ASSERT_TRUE(file.isValid());
    EXPECT_EQ(file.tag()->title(), "New");
    EXPECT_EQ(file.packet(1)[0], '\x84');
  }
}

}  // namespace
}  // namespace tagwriter::test

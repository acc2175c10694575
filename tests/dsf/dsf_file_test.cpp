// What is read when a DSF file is opened.
#include "dsf/dsf_file.h"

#include <gtest/gtest.h>
#include <tbytevectorstream.h>

#include "tests/dsf/dsf_bytes.h"
#include "tests/dsf/open_dsf.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

class DsfFileTest : public testing::Test {
 protected:
  TemporaryDirectory directory;
};

TEST_F(DsfFileTest, ReadsTheTagAtThePointer) {
  OpenDsf dsf(directory.copyOf("dsf_tagged.dsf"));
  ASSERT_TRUE(dsf.file.isValid());
  ASSERT_NE(dynamic_cast<TagLib::ID3v2::Tag*>(dsf.file.tag()), nullptr);
  EXPECT_EQ(dsf.file.tag()->title().to8Bit(true), "Rising Tone");
  EXPECT_EQ(dsf.file.tag()->artist().to8Bit(true), "Zoë Müller");
}

TEST_F(DsfFileTest, HasAnEmptyTagWhereThePointerIsZero) {
  OpenDsf dsf(directory.copyOf("dsf_plain.dsf"));
  ASSERT_TRUE(dsf.file.isValid());
  ASSERT_NE(dynamic_cast<TagLib::ID3v2::Tag*>(dsf.file.tag()), nullptr);
  EXPECT_TRUE(dsf.file.tag()->isEmpty());
}

TEST_F(DsfFileTest, ReadsTheProperties) {
  OpenDsf dsf(directory.copyOf("dsf_tagged.dsf"));
  ASSERT_NE(dsf.file.audioProperties(), nullptr);
  EXPECT_EQ(dsf.file.audioProperties()->channels(), 1);
  EXPECT_EQ(dsf.file.audioProperties()->sampleRate(), 2822400);
  EXPECT_EQ(dsf.file.audioProperties()->length(), 0);
}

TEST_F(DsfFileTest, HasNoPropertiesWhenTheyAreNotWanted) {
  const std::string path = directory.copyOf("dsf_tagged.dsf");
  TagLib::FDFileStream stream(openFile(path).release(), path.c_str(), nullptr);
  const TagLib::DSF::File file(&stream, false);
  EXPECT_EQ(file.audioProperties(), nullptr);
  ASSERT_NE(file.tag(), nullptr);
  EXPECT_EQ(file.tag()->title().to8Bit(true), "Rising Tone");
}

TEST_F(DsfFileTest, LeavesTheStreamToItsOwner) {
  const std::string path = directory.copyOf("dsf_tagged.dsf");
  TagLib::FDFileStream stream(openFile(path).release(), path.c_str(), nullptr);
  { const TagLib::DSF::File file(&stream); }
  EXPECT_TRUE(stream.isOpen());
  stream.seek(0);
  EXPECT_TRUE(stream.readBlock(4) == "DSD ");
}

TEST_F(DsfFileTest, OpensAndEditsByName) {
  const std::string path = directory.copyOf("dsf_plain.dsf");
  {
    TagLib::DSF::File file(path.c_str());
    ASSERT_TRUE(file.isValid());
    ASSERT_NE(file.audioProperties(), nullptr);
    EXPECT_EQ(file.audioProperties()->sampleRate(), 2822400);
    file.tag()->setTitle("By name");
    EXPECT_TRUE(file.save());
  }
  EXPECT_EQ(OpenDsf(path).file.tag()->title().to8Bit(true), "By name");
}

TEST_F(DsfFileTest, HasNoTagWhenItCannotBeOpened) {
  TagLib::DSF::File file((directory.path() / "absent.dsf").c_str());
  EXPECT_FALSE(file.isOpen());
  EXPECT_FALSE(file.isValid());
  EXPECT_EQ(file.tag(), nullptr);
  EXPECT_EQ(file.audioProperties(), nullptr);
  EXPECT_FALSE(file.save());
  EXPECT_FALSE(std::filesystem::exists(directory.path() / "absent.dsf"));
}

class ForeignFileTest : public DsfFileTest, public testing::WithParamInterface<std::string> {};

TEST_P(ForeignFileTest, IsInvalidAndKeepsItsBytes) {
  const std::string bytes = GetParam();
  const std::string path = directory.write("foreign.dsf", bytes);
  {
    OpenDsf dsf(path);
    EXPECT_TRUE(dsf.file.isOpen());
    EXPECT_FALSE(dsf.file.isValid());
    EXPECT_EQ(dsf.file.tag(), nullptr);
    EXPECT_EQ(dsf.file.audioProperties(), nullptr);
    EXPECT_FALSE(dsf.file.save());
  }
  EXPECT_EQ(readFile(path), bytes);
}

std::string withId(const std::string& id) {
  DsfBytes dsf;
  dsf.dsdId = id;
  return dsf.bytes();
}

INSTANTIATE_TEST_SUITE_P(Ids, ForeignFileTest,
                         testing::Values("", "DSD", withId("RIFF"), withId("dsd "), withId("DSD_"),
                                         withId(std::string("DSD\0", 4)), withId(" DSD")));

TEST_F(DsfFileTest, StartsToReadWhereTheStreamStands) {
  const std::string bytes = "before" + DsfBytes().bytes();
  TagLib::ByteVectorStream stream(
      TagLib::ByteVector(bytes.data(), static_cast<unsigned int>(bytes.size())));
  stream.seek(6);
  EXPECT_TRUE(TagLib::DSF::File(&stream).isValid());
}

}  // namespace
}  // namespace tagwriter::test

// The format-dispatched write on real files: which tag is handed to which editor, and that it is
// saved. Failures, MPEG's two tags and what is left alone have files of their own.
#include "tagging/tag_write.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <set>

#include "tests/formats/tag_write_fixture.h"
#include "tests/formats/written_files.h"

namespace tagwriter::test {
namespace {

TEST_F(TagWriteTest, EveryTestFileIsListed) {
  std::set<std::string> listed(placelessFiles().begin(), placelessFiles().end());
  for (const WrittenFile& file : writtenFiles()) listed.insert(file.data);
  for (const RefusedFile& file : refusedFiles()) listed.insert(file.data);
  const std::vector<std::string> names = audioFileNames();
  EXPECT_EQ(listed, std::set<std::string>(names.begin(), names.end()));
}

TEST_F(TagWriteTest, RunsOnlyTheEditorOfTheFilesFamilyAndSaves) {
  for (const WrittenFile& file : writtenFiles()) {
    SCOPED_TRACE(std::string(file.data) + " as " + file.name);
    const std::string path = directory_.copyOf(file.data, file.name);
    ASSERT_NE(file.composer(path), kMark);
    RecordingEditors editors;
    EXPECT_TRUE(write(path, editors));
    EXPECT_EQ(editors.ran, file.edited);
    EXPECT_EQ(file.composer(path), kMark);
    EXPECT_EQ(log_.text(), "");
  }
}

TEST_F(TagWriteTest, NeedsNoEditorButThatOne) {
  for (const WrittenFile& file : writtenFiles()) {
    SCOPED_TRACE(std::string(file.data) + " as " + file.name);
    const std::string path = directory_.copyOf(file.data, file.name);
    RecordingEditors editors;
    editors.keepOnly(file.edited);
    EXPECT_TRUE(write(path, editors));
    EXPECT_EQ(editors.ran, file.edited);
    EXPECT_EQ(file.composer(path), kMark);
  }
}

TEST_F(TagWriteTest, TakesExtensionsInCapitalLetters) {
  for (const WrittenFile& file : writtenFiles()) {
    const std::string name = inCapitals(file.name);
    SCOPED_TRACE(std::string(file.data) + " as " + name);
    const std::string path = directory_.copyOf(file.data, name);
    RecordingEditors editors;
    EXPECT_TRUE(write(path, editors));
    EXPECT_EQ(editors.ran, file.edited);
    EXPECT_EQ(file.composer(path), kMark);
  }
}

TEST_F(TagWriteTest, TakesAFileWithoutAPathForAnMP3) {
  const WrittenFile& mp3 = writtenFiles().front();
  const std::string path = directory_.copyOf(mp3.data);
  RecordingEditors editors;
  EXPECT_TRUE(writeCalled(nullptr, path, editors));
  EXPECT_EQ(editors.ran, std::vector{Family::kId3v2});
  EXPECT_EQ(mp3.composer(path), kMark);
  EXPECT_EQ(log_.text(), "");
}

TEST_F(TagWriteTest, DoesNotMindWhereTheDescriptorStands) {
  for (const WrittenFile& file : writtenFiles()) {
    SCOPED_TRACE(std::string(file.data) + " as " + file.name);
    const std::string path = directory_.copyOf(file.data, file.name);
    RecordingEditors editors;
    EXPECT_TRUE(write(path, editors));
    const std::string expected = readFile(path);

    directory_.copyOf(file.data, file.name);
    UniqueFd atTheEnd = openFile(path);
    ASSERT_GT(::lseek(atTheEnd.get(), 0, SEEK_END), 0);
    EXPECT_TRUE(writeTagToFile(std::move(atTheEnd), path.c_str(), editors.blocks, request_));
    EXPECT_EQ(readFile(path), expected);
  }
}

TEST_F(TagWriteTest, SavesTwiceTheSameAsOnce) {
  for (const WrittenFile& file : writtenFiles()) {
    SCOPED_TRACE(std::string(file.data) + " as " + file.name);
    const std::string path = directory_.copyOf(file.data, file.name);
    RecordingEditors editors;
    EXPECT_TRUE(write(path, editors));
    EXPECT_TRUE(write(path, editors));
    EXPECT_EQ(file.composer(path), kMark);
    EXPECT_EQ(editors.ran.size(), 2 * file.edited.size());
  }
}

TEST_F(TagWriteTest, HasNoPlaceForATagInADsfFileWhosePointerLeadsNowhere) {
  for (const std::string& name : placelessFiles()) {
    SCOPED_TRACE(name);
    const std::string path = directory_.copyOf(name);
    RecordingEditors editors;
    EXPECT_TRUE(write(path, editors));
    EXPECT_EQ(editors.ran, std::vector{Family::kId3v2});
    EXPECT_EQ(readFile(path), readFile(dataFile(name)));
    EXPECT_EQ(log_.text(), "");
  }
}

TEST(WritingBlocks, StartWithoutEditors) {
  const VQNTagWritingBlocks blocks;
  EXPECT_FALSE(blocks.id3v2Block);
  EXPECT_FALSE(blocks.id3v1Block);
  EXPECT_FALSE(blocks.mp4Block);
  EXPECT_FALSE(blocks.xiphBlock);
  EXPECT_FALSE(blocks.asfBlock);
  EXPECT_FALSE(blocks.apeBlock);
}

TEST(WritingBlocks, AreCopiedWithWhatTheEditorsHold) {
  VQNTagWritingBlocks copy;
  {
    VQNTagWritingBlocks blocks;
    blocks.apeBlock = [value = std::string("a value that is too long to be stored in place")](
                          TagLib::APE::Tag* tag) { tag->setTitle(value); };
    copy = blocks;
  }
  EXPECT_FALSE(copy.xiphBlock);
  TagLib::APE::Tag tag;
  copy.apeBlock(&tag);
  EXPECT_EQ(tag.title(), "a value that is too long to be stored in place");
}

}  // namespace
}  // namespace tagwriter::test

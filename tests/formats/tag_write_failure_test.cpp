// The format-dispatched write that fails: the file keeps every byte, and the descriptor is closed.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

#include "tagging/tag_write.h"
#include "tests/formats/tag_write_fixture.h"
#include "tests/formats/throwing_request.h"
#include "tests/formats/written_files.h"

namespace tagwriter::test {
namespace {

class TagWriteFailureTest : public TagWriteTest {
 protected:
  /// Whether the file at `path` still has the bytes of tests/data/`name`.
  static bool isUnchanged(const std::string& path, const std::string& name) {
    return readFile(path) == readFile(dataFile(name));
  }
};

TEST_F(TagWriteFailureTest, RefusesTypesWithoutAWriter) {
  for (const RefusedFile& file : refusedFiles()) {
    for (const std::string& name : {std::string(file.name), inCapitals(file.name)}) {
      SCOPED_TRACE(std::string(file.data) + " as " + name);
      const std::string path = directory_.copyOf(file.data, name);
      RecordingEditors editors;
      EXPECT_FALSE(write(path, editors));
      EXPECT_TRUE(editors.ran.empty());
      EXPECT_TRUE(isUnchanged(path, file.data));
      EXPECT_EQ(log_.text(), "");
    }
  }
}

TEST_F(TagWriteFailureTest, SavesNothingWithoutAnEditorForTheFilesFamily) {
  for (const WrittenFile& file : writtenFiles()) {
    SCOPED_TRACE(std::string(file.data) + " as " + file.name);
    const std::string path = directory_.copyOf(file.data, file.name);
    RecordingEditors editors;
    editors.remove(file.edited);
    EXPECT_FALSE(write(path, editors));
    EXPECT_TRUE(editors.ran.empty());
    EXPECT_TRUE(isUnchanged(path, file.data));
    EXPECT_EQ(log_.text(), "");
  }
}

TEST_F(TagWriteFailureTest, SavesNothingWithoutAnyEditor) {
  RecordingEditors editors;
  editors.keepOnly({});
  for (const WrittenFile& file : writtenFiles()) {
    SCOPED_TRACE(std::string(file.data) + " as " + file.name);
    const std::string path = directory_.copyOf(file.data, file.name);
    EXPECT_FALSE(write(path, editors));
    EXPECT_TRUE(isUnchanged(path, file.data));
  }
}

TEST_F(TagWriteFailureTest, LogsAStandardExceptionOfAnEditorAndSavesNothing) {
  for (const WrittenFile& file : writtenFiles()) {
    SCOPED_TRACE(std::string(file.data) + " as " + file.name);
    const std::string path = directory_.copyOf(file.data, file.name);
    RecordingEditors editors;
    editors.afterwards = [] { throw std::runtime_error("gave up at 50% %s"); };
    const LogCapture log;
    EXPECT_FALSE(write(path, editors));
    EXPECT_EQ(editors.ran, std::vector{file.edited.front()});
    EXPECT_EQ(log.text(), "writeTagToFile exception: gave up at 50% %s\n");
    EXPECT_TRUE(isUnchanged(path, file.data));
  }
}

TEST_F(TagWriteFailureTest, LogsEveryKindOfStandardException) {
  const std::string path = directory_.copyOf("mp3_plain.mp3");
  RecordingEditors editors;
  editors.afterwards = [] { throw std::bad_alloc(); };
  EXPECT_FALSE(write(path, editors));
  EXPECT_EQ(log_.text(), "writeTagToFile exception: std::bad_alloc\n");
  EXPECT_TRUE(isUnchanged(path, "mp3_plain.mp3"));
}

TEST_F(TagWriteFailureTest, LogsWhatTheSecondOfTwoEditorsThrows) {
  const std::string path = directory_.copyOf("mp3_id3v1.mp3");
  RecordingEditors editors;
  editors.afterwards = [&editors] {
    if (editors.ran.back() == Family::kId3v1) throw std::runtime_error("the second one");
  };
  EXPECT_FALSE(write(path, editors));
  EXPECT_EQ(editors.ran, (std::vector{Family::kId3v2, Family::kId3v1}));
  EXPECT_EQ(log_.text(), "writeTagToFile exception: the second one\n");
  EXPECT_TRUE(isUnchanged(path, "mp3_id3v1.mp3"));
}

TEST_F(TagWriteFailureTest, LogsAStandardExceptionOfTheSave) {
  const std::string path = directory_.copyOf("vorbis_tagged.ogg");
  VQNTagWritingBlocks blocks;
  blocks.xiphBlock = [](TagLib::Ogg::XiphComment* tag) { tag->removeAllFields(); };
  const HandedOver file(path);
  EXPECT_FALSE(writeTagToFile(file.fd(), path.c_str(), blocks, ThrowingRequest()));
  EXPECT_EQ(log_.text(), "writeTagToFile exception: cannot be shortened\n");
}

TEST_F(TagWriteFailureTest, LetsOtherExceptionsPass) {
  struct NoStandardException {};
  for (const WrittenFile& file : writtenFiles()) {
    SCOPED_TRACE(std::string(file.data) + " as " + file.name);
    const std::string path = directory_.copyOf(file.data, file.name);
    RecordingEditors editors;
    editors.afterwards = [] { throw NoStandardException(); };
    EXPECT_THROW(write(path, editors), NoStandardException);
    EXPECT_TRUE(isUnchanged(path, file.data));
    EXPECT_EQ(log_.text(), "");
  }
}

TEST_F(TagWriteFailureTest, CannotSaveThroughADescriptorForReadingOnly) {
  for (const WrittenFile& file : writtenFiles()) {
    SCOPED_TRACE(std::string(file.data) + " as " + file.name);
    const std::string path = directory_.copyOf(file.data, file.name);
    RecordingEditors editors;
    EXPECT_FALSE(write(path, editors, O_RDONLY));
    EXPECT_EQ(editors.ran, file.edited);
    EXPECT_TRUE(isUnchanged(path, file.data));
  }
}

TEST_F(TagWriteFailureTest, CannotSaveThroughADescriptorThatIsNotOpen) {
  for (const WrittenFile& file : writtenFiles()) {
    SCOPED_TRACE(std::string(file.data) + " as " + file.name);
    const std::size_t before = countDescriptors();
    const RecordingEditors editors;
    const LogCapture log;
    EXPECT_FALSE(writeTagToFile(UniqueFd(), file.name, editors.blocks, request_));
    EXPECT_TRUE(log.text().starts_with("Could not open file " + std::string(file.name)))
        << log.text();
    EXPECT_EQ(countDescriptors(), before);
  }
}

TEST_F(TagWriteFailureTest, OpensNothingOfARefusedTypeThatIsNotOpen) {
  const RecordingEditors editors;
  EXPECT_FALSE(writeTagToFile(UniqueFd(), "a.shn", editors.blocks, request_));
  EXPECT_EQ(log_.text(), "Could not open file a.shn");
  EXPECT_TRUE(editors.ran.empty());
}

}  // namespace
}  // namespace tagwriter::test

// What a save changes in a DSF file, and what it leaves alone.
#include <gtest/gtest.h>
#include <tbytevectorstream.h>

#include <cstdio>
#include <limits>
#include <random>

#include "dsf/stream_types.h"
#include "tests/dsf/dsf_bytes.h"

namespace tagwriter::test {
namespace {

using TagLib::ByteVector;
using TagLib::DSF::File;
using TagLib::ID3v2::Tag;

/// The file's bytes after each save, computed in memory.
class SaveModel {
 public:
  explicit SaveModel(std::string bytes) : bytes_(std::move(bytes)) {}

  const std::string& bytes() const { return bytes_; }

  void open(const Tag& tag) {
    const std::int64_t pointer = pointerOf(bytes_);
    offset_ = pointer < static_cast<std::int64_t>(bytes_.size()) ? pointer : -1;
    hasTag_ = offset_ != 0;
    tagSize_ = hasTag_ ? tag.header()->completeTagSize() : 0;
  }

  void save(const Tag& tag) {
    if (!tag.isEmpty()) {
      const std::string rendered = stringOf(tag.render());
      if (!hasTag_) {  // Quirk: the size is not noted, so the next save inserts before this tag
        offset_ = static_cast<std::int64_t>(bytes_.size());
        bytes_ = withPointer(bytes_, offset_) + rendered;
        hasTag_ = true;
        return;
      }
      replace(rendered);
      tagSize_ = rendered.size();
    } else if (hasTag_) {
      replace("");
      bytes_ = withPointer(bytes_, 0);
      offset_ = 0;
      hasTag_ = false;
      tagSize_ = 0;
    }
  }

 private:
  /// Quirk: a tag is not written if its pointer is invalid.
  void replace(const std::string& rendered) {
    if (offset_ >= 0) bytes_.replace(static_cast<std::size_t>(offset_), tagSize_, rendered);
  }

  std::string bytes_;
  std::int64_t offset_ = 0;
  bool hasTag_ = false;
  std::size_t tagSize_ = 0;
};

/// Sets a title of random length, or removes all frames.
void editAtRandom(Tag& tag, std::mt19937& random) {
  static constexpr std::size_t kLengths[] = {0, 0, 1, 10, 2500, 4000, 9000};
  const std::size_t length = kLengths[random() % std::size(kLengths)];
  removeAllFrames(tag);
  if (length > 0) tag.setTitle(TagLib::String(std::string(length, 'x')));
}

class DsfSave : public testing::Test {
 protected:
  /// Edits and saves `before` at random and compares the bytes with the model's after every save.
  void expectModelled(const std::string& before, bool byName, unsigned seed) {
    SCOPED_TRACE(testing::Message() << pointerOf(before) << " " << byName << " " << seed);
    const std::string path = directory_.write("model.dsf", before);
    SaveModel model(before);
    std::mt19937 random(seed);
    for (int opening = 0; opening < 3; ++opening) {
      std::unique_ptr<TagLib::FDFileStream> stream;
      if (!byName) {
        stream = std::make_unique<TagLib::FDFileStream>(openFile(path).release(), "", nullptr);
      }
      File file = byName ? File(path.c_str()) : File(stream.get());
      ASSERT_TRUE(file.isValid());
      model.open(*file.tag());
      for (int save = 0; save < 4; ++save) {
        editAtRandom(*file.tag(), random);
        model.save(*file.tag());
        ASSERT_TRUE(file.save());
        std::fflush(nullptr);
        ASSERT_TRUE(readFile(path) == model.bytes()) << opening << " " << save;
      }
    }
  }

  TemporaryDirectory directory_;
  const std::string plain_ = readFile(dataFile("dsf_plain.dsf"));
  const std::string tagged_ = readFile(dataFile("dsf_tagged.dsf"));
};

TEST_F(DsfSave, ReplacesTheTagAndThePointerOnly) {
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
  const std::string claimsTooMuch("ID3\x04\0\0\x7F\x7F\x7F\x7F", 10);
  std::vector<std::string> files = {plain_, tagged_, tagged_ + "left by another program",
                                    withPointer(plain_, kAudioEnd) + claimsTooMuch};
  // At and beyond the end of the file, and negative.
  for (const std::int64_t pointer :
       {std::int64_t{8283}, std::int64_t{8284}, std::int64_t{8285}, std::int64_t{12380}, kMax,
        std::int64_t{-1}, std::int64_t{-10}, std::int64_t{-20}, std::int64_t{-8284}, kMin}) {
    files.push_back(withPointer(plain_, pointer));
  }
  for (const std::string& before : files) {
    for (unsigned seed = 1; seed <= 8; ++seed) {
      for (const bool byName : {false, true}) expectModelled(before, byName, seed);
    }
  }
}

/// The title that mutagen reads, or its error.
std::string titleByMutagen(const std::string& path) {
  const std::string command = TAGWRITER_PYTHON
                              " -c 'import sys, mutagen.dsf\n"
                              "print(mutagen.dsf.DSF(sys.argv[1]).tags[\"TIT2\"], end=\"\")' '" +
                              path + "' 2>&1";
  std::FILE* pipe = ::popen(command.c_str(), "r");
  std::string output;
  char buffer[256];
  while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, pipe)) {
    output.append(buffer, count);
  }
  ::pclose(pipe);
  return output;
}

TEST_F(DsfSave, WritesWhatMutagenReads) {
  for (const char* name : {"dsf_plain.dsf", "dsf_tagged.dsf"}) {
    const std::string path = directory_.copyOf(name);
    const std::string title = "Für alle" + std::string(3000, 'x');
    {
      OpenDsf dsf(path);
      dsf.file.tag()->setTitle(TagLib::String(title, TagLib::String::UTF8));
      EXPECT_TRUE(dsf.file.save());
    }
    EXPECT_EQ(titleByMutagen(path), title);
    // Nothing else has changed: not the file size at byte 12, not the audio.
    const std::string before = readFile(dataFile(name)).substr(0, kAudioEnd);
    EXPECT_TRUE(readFile(path).substr(0, kAudioEnd) == withPointer(before, kAudioEnd));
  }
}

/// Takes no change and reports nothing.
class DeafStream : public TagLib::ByteVectorStream {
 public:
  explicit DeafStream(const std::string& bytes) : ByteVectorStream(vectorOf(bytes)) {}
  void writeBlock(const ByteVector&) override { calls += "write "; }
  void insert(const ByteVector&, TagLib::StreamStart, TagLib::StreamSize) override {
    calls += "insert ";
  }
  void removeBlock(TagLib::StreamStart, TagLib::StreamSize) override { calls += "remove "; }
  std::string calls;
};

TEST_F(DsfSave, ReportsSuccessEvenIfAllWritesFail) {
  DeafStream stream(plain_);
  File file(&stream);
  EXPECT_TRUE(file.save());
  EXPECT_EQ(stream.calls, "") << "there is nothing to remove";
  for (const char* title : {"one", "two", ""}) {
    file.tag()->setTitle(title);
    EXPECT_TRUE(file.save());
    stream.calls += "| ";
  }
  EXPECT_EQ(stream.calls, "write write | insert | remove write | ");
}

TEST_F(DsfSave, RefusesAReadOnlyFile) {
  const std::string path = directory_.copyOf("dsf_tagged.dsf");
  for (const bool empty : {false, true}) {
    OpenDsf dsf(path, O_RDONLY);
    dsf.file.tag()->setTitle("never");
    if (empty) removeAllFrames(*dsf.file.tag());
    EXPECT_FALSE(dsf.file.save());
  }
  EXPECT_EQ(readFile(path), tagged_);
}

}  // namespace
}  // namespace tagwriter::test

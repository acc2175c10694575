// The format-dispatched write with editors of the tests' own: which of them run, and what an
// exception does.
#include "tagging/tag_write.h"

#include <apefile.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <new>
#include <stdexcept>
#include <typeinfo>

#include "artwork/clear_artwork.h"
#include "artwork/write_artwork.h"
#include "protocol/keys.h"
#include "protocol/value_dictionary.h"
#include "tagging/field_table.h"
#include "tests/support/descriptors.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

enum Family { kID3v2, kID3v1, kMP4, kXiph, kASF, kAPE };
using Families = std::vector<Family>;

/// A file and the families whose editors run, in order.
struct File {
  const char* name;
  Families edited;
};

const File kFiles[] = {
    {"mp3_plain.mp3", {kID3v2}},     {"mp3_id3v1.mp3", {kID3v2, kID3v1}},
    {"mp3_id3v23.mp3", {kID3v2}},    {"mp3_id3v24_id3v1.mp3", {kID3v2, kID3v1}},
    {"mp3_id3v2_ape.mp3", {kID3v2}}, {"m4a_plain.m4a", {kMP4}},
    {"flac_plain.flac", {kXiph}},    {"flac_id3.flac", {kXiph}},
    {"vorbis_plain.ogg", {kXiph}},   {"vorbis.oga", {kXiph}},
    {"flac.oga", {kXiph}},           {"opus_plain.opus", {kXiph}},
    {"wma_plain.wma", {kASF}},       {"aiff_plain.aiff", {kID3v2}},
    {"wav_plain.wav", {kID3v2}},     {"wav_info.wav", {kID3v2}},
    {"ape_plain.ape", {kAPE}},       {"ape_id3v1.ape", {kAPE}},
    {"wavpack_plain.wv", {kAPE}},    {"mpc_plain.mpc", {kAPE}},
    {"dsf_plain.dsf", {kID3v2}},
};

class TagWrite : public testing::Test {
 protected:
  template <typename Tag>
  void set(FieldEditor<Tag>& editor, Family family, const Families& given) {
    if (std::find(given.begin(), given.end(), family) == given.end()) return;
    editor = [this, family](Tag* tag) {
      ran_.push_back(family);
      const TagLib::Tag& object = *tag;
      EXPECT_EQ(typeid(object), typeid(Tag));
      if (afterwards_) afterwards_();
      tag->setTitle("written by the test");
    };
  }

  /// Writes into a fresh copy with editors for these families; nothing may stay open.
  bool write(const char* name, const Families& given) {
    path_ = directory_.copyOf(name);
    VQNTagWritingBlocks blocks;
    set(blocks.id3v2Block, kID3v2, given);
    set(blocks.id3v1Block, kID3v1, given);
    set(blocks.mp4Block, kMP4, given);
    set(blocks.xiphBlock, kXiph, given);
    set(blocks.asfBlock, kASF, given);
    set(blocks.apeBlock, kAPE, given);
    ran_.clear();
    return writeTagToFile(openFile(path_), path_.c_str(), blocks, ValueDictionary());
  }

  bool unchanged(const char* name) const { return readFile(path_) == readFile(dataFile(name)); }

  static Families allBut(const Families& families) {
    Families others;
    for (const Family family : kAll) {
      if (std::find(families.begin(), families.end(), family) == families.end()) {
        others.push_back(family);
      }
    }
    return others;
  }

  static inline const Families kAll = {kID3v2, kID3v1, kMP4, kXiph, kASF, kAPE};
  TemporaryDirectory directory_;
  LogCapture log_;
  std::string path_;
  Families ran_;
  std::function<void()> afterwards_;
};

TEST_F(TagWrite, RunsTheEditorsOfTheFileAndSaves) {
  for (const File& file : kFiles) {
    SCOPED_TRACE(file.name);
    for (const Families& given : {kAll, file.edited}) {
      EXPECT_TRUE(write(file.name, given));
      EXPECT_EQ(ran_, file.edited);
      EXPECT_FALSE(unchanged(file.name));
    }
  }
  EXPECT_EQ(log_.text(), "");
}

TEST_F(TagWrite, SavesNothingWithoutAnEditorForTheFile) {
  for (const File& file : kFiles) {
    SCOPED_TRACE(file.name);
    for (const Families& given : {Families(), allBut(file.edited)}) {
      EXPECT_FALSE(write(file.name, given));
      EXPECT_TRUE(ran_.empty());
      EXPECT_TRUE(unchanged(file.name));
    }
  }
  EXPECT_EQ(log_.text(), "");
}

TEST_F(TagWrite, SavesAnMP3OfWhichOneTagIsEdited) {
  for (const char* name : {"mp3_id3v1.mp3", "mp3_id3v24_id3v1.mp3"}) {
    for (const Family family : {kID3v2, kID3v1}) {
      EXPECT_TRUE(write(name, {family}));
      EXPECT_EQ(ran_, Families{family});
      EXPECT_FALSE(unchanged(name));
    }
  }
}

TEST_F(TagWrite, LogsAStandardExceptionOfAnEditorAndSavesNothing) {
  afterwards_ = [] { throw std::runtime_error("gave up at 50% %s"); };
  for (const File& file : kFiles) {
    SCOPED_TRACE(file.name);
    const LogCapture log;
    EXPECT_FALSE(write(file.name, kAll));
    EXPECT_EQ(ran_, Families{file.edited.front()});
    EXPECT_EQ(log.text(), "writeTagToFile exception: gave up at 50% %s\n");
    EXPECT_TRUE(unchanged(file.name));
  }
  afterwards_ = [this] {
    if (ran_.back() == kID3v1) throw std::bad_alloc();
  };
  EXPECT_FALSE(write("mp3_id3v1.mp3", kAll));
  EXPECT_EQ(log_.text(), "writeTagToFile exception: std::bad_alloc\n");
  EXPECT_TRUE(unchanged("mp3_id3v1.mp3"));
}

TEST_F(TagWrite, LetsOtherExceptionsPassAndClosesTheDescriptor) {
  struct NoStandardException {};
  const std::size_t before = countDescriptors();
  afterwards_ = [] { throw NoStandardException(); };
  EXPECT_THROW(write("flac_plain.flac", kAll), NoStandardException);
  EXPECT_TRUE(unchanged("flac_plain.flac"));
  EXPECT_EQ(log_.text(), "");
  EXPECT_EQ(countDescriptors(), before);
}

TEST_F(TagWrite, OpensAFileThatIsNotThere) {
  for (const char* name : {"a.mp3", "a.flac", "a.shn"}) {
    const LogCapture log;
    EXPECT_FALSE(writeTagToFile(UniqueFd(), name, {}, ValueDictionary()));
    EXPECT_TRUE(log.text().starts_with("Could not open file " + std::string(name))) << log.text();
  }
}

/// A request that throws when the writer has opened the stream, as TagLib may later.
class ThrowingRequest final : public Dictionary {
 public:
  const char* getString(const char*) const override { return nullptr; }
  std::int64_t getInt64(const char*) const override { return 0; }
  double getDouble(const char*) const override { return 0; }
  bool getBool(const char*) const override { return true; }
  std::optional<std::span<const std::byte>> getData(const char*) const override {
    throw std::runtime_error("no memory");
  }
  const Dictionary* getDictionary(const char*) const override { return nullptr; }
  UniqueFd duplicateDescriptor(const char*) const override { return {}; }
  std::unique_ptr<TruncationConnection> createTruncationConnection(const char*) const override {
    return nullptr;
  }
};

class ThrowingEdit : public testing::Test {
 protected:
  /// Calls the writer with a descriptor, which must be closed afterwards.
  template <typename Writer>
  void expectThrow(const Writer& writer) {
    const std::string path = directory_.copyOf("ape_tagged.ape");
    const std::size_t before = countDescriptors();
    EXPECT_THROW(writer(openFile(path), path.c_str()), std::runtime_error);
    EXPECT_EQ(countDescriptors(), before);
    EXPECT_EQ(log_.text(), "");
  }

  TemporaryDirectory directory_;
  LogCapture log_;
  ThrowingRequest request_;
};

TEST_F(ThrowingEdit, IsLoggedByTheFormatDispatchedWrite) {
  const std::string path = directory_.copyOf("vorbis_tagged.ogg");
  VQNTagWritingBlocks blocks;
  blocks.xiphBlock = [](TagLib::Ogg::XiphComment* tag) { tag->removeAllFields(); };
  EXPECT_FALSE(writeTagToFile(openFile(path), path.c_str(), blocks, request_));
  EXPECT_EQ(log_.text(), "writeTagToFile exception: no memory\n");
}

TEST_F(ThrowingEdit, PassesThroughTheWritersOfTheirOwn) {
  for (const char* key : {"title", "artist", "album", "genre", "year", "cueSheet"}) {
    SCOPED_TRACE(key);
    const FieldRow& row = *findFieldRow(key);
    expectThrow([&](UniqueFd fd, const char* path) {
      row.writer(row, std::move(fd), {.path = path}, request_);
    });
  }
  expectThrow([&](UniqueFd fd, const char* path) {
    writeArtwork(std::move(fd), path, std::span<const std::byte>(), 1, request_);
  });
  expectThrow([&](UniqueFd fd, const char* path) { clearArtwork(std::move(fd), path, request_); });
}

}  // namespace
}  // namespace tagwriter::test

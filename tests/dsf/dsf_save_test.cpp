// What a save changes in a DSF file, and what it leaves alone.
#include <gtest/gtest.h>
#include <tbytevectorstream.h>

#include "tests/dsf/dsf_bytes.h"
#include "tests/dsf/open_dsf.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

constexpr std::size_t kAudioEnd = 8284;  // of all files in tests/data

class DsfSaveTest : public testing::Test {
 protected:
  TemporaryDirectory directory;
  const std::string plain = directory.copyOf("dsf_plain.dsf");
  const std::string plainBefore = readFile(plain);
  const std::string tagged = directory.copyOf("dsf_tagged.dsf");
  const std::string taggedBefore = readFile(tagged);
};

/// Takes no change, and says nothing about it.
class DeafStream : public TagLib::ByteVectorStream {
 public:
  explicit DeafStream(const std::string& bytes)
      : ByteVectorStream(
            TagLib::ByteVector(bytes.data(), static_cast<unsigned int>(bytes.size()))) {}
  void writeBlock(const TagLib::ByteVector& /*data*/) override { ++changes; }
  void insert(const TagLib::ByteVector& /*data*/, unsigned long /*start*/,
              unsigned long /*replace*/) override {
    ++changes;
  }
  void removeBlock(unsigned long /*start*/, unsigned long /*length*/) override { ++changes; }
  int changes = 0;
};

/// The title of an ID3v2 tag that starts at `offset`, found by a file of its own.
std::string titleAt(const TemporaryDirectory& directory, const std::string& bytes,
                    std::size_t offset) {
  const std::string path =
      directory.write("cut.dsf", withPointer(bytes, static_cast<int64_t>(offset)));
  return OpenDsf(path).file.tag()->title().to8Bit(true);
}

TEST_F(DsfSaveTest, AppendsTheFirstTagAndPointsToIt) {
  EXPECT_TRUE(editTitle(plain, "First"));
  const std::string after = readFile(plain);
  EXPECT_EQ(int64At(after, kPointerAt), static_cast<int64_t>(kAudioEnd));
  EXPECT_EQ(after.size(), kAudioEnd + id3v2SizeAt(after, kAudioEnd));
  // Nothing else: neither the file size at byte 12 nor a byte of audio.
  EXPECT_EQ(after.substr(0, kAudioEnd), withPointer(plainBefore, kAudioEnd));
  EXPECT_EQ(OpenDsf(plain).file.tag()->title().to8Bit(true), "First");
}

TEST_F(DsfSaveTest, WritesWhatAnotherProgramReads) {
  EXPECT_TRUE(editTitle(plain, "Für alle"));
  EXPECT_EQ(titleByMutagen(plain), "Für alle");
  EXPECT_TRUE(editTitle(tagged, std::string(3000, 'x')));
  EXPECT_EQ(titleByMutagen(tagged), std::string(3000, 'x'));
}

TEST_F(DsfSaveTest, GrowsTheTagInItsPlace) {
  EXPECT_TRUE(editTitle(tagged, std::string(5000, 'x')));
  const std::string after = readFile(tagged);
  EXPECT_GT(after.size(), taggedBefore.size() + 4000);
  EXPECT_EQ(after.size(), kAudioEnd + id3v2SizeAt(after, kAudioEnd));
  EXPECT_EQ(after.substr(0, kAudioEnd), taggedBefore.substr(0, kAudioEnd));
  OpenDsf dsf(tagged);
  EXPECT_EQ(dsf.file.tag()->title().to8Bit(true), std::string(5000, 'x'));
  EXPECT_EQ(dsf.file.tag()->artist().to8Bit(true), "Zoë Müller");
}

TEST_F(DsfSaveTest, ShrinksTheTagInItsPlace) {
  ASSERT_TRUE(editTitle(tagged, std::string(5000, 'x')));
  const std::size_t grown = readFile(tagged).size();
  EXPECT_TRUE(editTitle(tagged, "short"));
  const std::string after = readFile(tagged);
  EXPECT_LT(after.size(), grown - 3000);
  EXPECT_EQ(after.size(), kAudioEnd + id3v2SizeAt(after, kAudioEnd));
  EXPECT_EQ(after.substr(0, kAudioEnd), taggedBefore.substr(0, kAudioEnd));
  EXPECT_EQ(OpenDsf(tagged).file.tag()->title().to8Bit(true), "short");
}

TEST_F(DsfSaveTest, KeepsWhatStandsBehindTheTag) {
  const std::string tail = "left by somebody else";
  const std::string path = directory.write("tail.dsf", taggedBefore + tail);
  EXPECT_TRUE(editTitle(path, std::string(5000, 'x')));
  const std::string after = readFile(path);
  EXPECT_EQ(after.substr(kAudioEnd + id3v2SizeAt(after, kAudioEnd)), tail);

  EXPECT_TRUE(saveEmptied(path));
  EXPECT_EQ(readFile(path), withPointer(taggedBefore.substr(0, kAudioEnd), 0) + tail);
}

TEST_F(DsfSaveTest, FollowsTheTagsSizeFromSaveToSave) {
  {
    OpenDsf dsf(tagged);
    for (const unsigned length : {4000U, 10U, 9000U, 2500U}) {
      dsf.file.tag()->setTitle(TagLib::String(std::string(length, 'y')));
      EXPECT_TRUE(dsf.file.save());
    }
  }
  const std::string after = readFile(tagged);
  EXPECT_EQ(after.size(), kAudioEnd + id3v2SizeAt(after, kAudioEnd));
  EXPECT_EQ(after.substr(0, kAudioEnd), taggedBefore.substr(0, kAudioEnd));
  EXPECT_EQ(OpenDsf(tagged).file.tag()->title().to8Bit(true), std::string(2500, 'y'));
}

TEST_F(DsfSaveTest, PutsASecondTagBeforeTheOneItAppended) {  // kept
  {
    OpenDsf dsf(plain);
    dsf.file.tag()->setTitle("one");
    EXPECT_TRUE(dsf.file.save());
    dsf.file.tag()->setTitle("two");
    EXPECT_TRUE(dsf.file.save());
  }
  const std::string after = readFile(plain);
  EXPECT_EQ(after.substr(0, kAudioEnd), withPointer(plainBefore, kAudioEnd));
  const std::size_t first = kAudioEnd + id3v2SizeAt(after, kAudioEnd);
  EXPECT_EQ(after.size(), first + id3v2SizeAt(after, first));
  EXPECT_EQ(titleAt(directory, after, kAudioEnd), "two");
  EXPECT_EQ(titleAt(directory, after, first), "one");
}

TEST_F(DsfSaveTest, RemovesAnEmptiedTagAndItsPointer) {
  EXPECT_TRUE(saveEmptied(tagged));
  // Byte 12 still holds the old file size.
  EXPECT_EQ(readFile(tagged), withPointer(taggedBefore.substr(0, kAudioEnd), 0));
  EXPECT_EQ(int64At(readFile(tagged), 12), static_cast<int64_t>(taggedBefore.size()));
}

TEST_F(DsfSaveTest, RemovesOnceOnly) {
  {
    OpenDsf dsf(tagged);
    dsf.emptyTag();
    EXPECT_TRUE(dsf.file.save());
    EXPECT_TRUE(dsf.file.save());
  }
  EXPECT_EQ(readFile(tagged), withPointer(taggedBefore.substr(0, kAudioEnd), 0));
}

TEST_F(DsfSaveTest, AppendsAgainAfterARemoval) {
  {
    OpenDsf dsf(tagged);
    dsf.emptyTag();
    EXPECT_TRUE(dsf.file.save());
    dsf.file.tag()->setTitle("again");
    EXPECT_TRUE(dsf.file.save());
  }
  const std::string after = readFile(tagged);
  EXPECT_EQ(after.substr(0, kAudioEnd), taggedBefore.substr(0, kAudioEnd));
  EXPECT_EQ(after.size(), kAudioEnd + id3v2SizeAt(after, kAudioEnd));
  EXPECT_EQ(OpenDsf(tagged).file.tag()->title().to8Bit(true), "again");
}

TEST_F(DsfSaveTest, ForgetsTheRemovedTagsSize) {
  {
    OpenDsf dsf(tagged);
    dsf.emptyTag();
    EXPECT_TRUE(dsf.file.save());
    for (const char* title : {"one", "two"}) {
      dsf.file.tag()->setTitle(title);
      EXPECT_TRUE(dsf.file.save());
    }
  }
  const std::string after = readFile(tagged);
  EXPECT_EQ(titleAt(directory, after, kAudioEnd), "two");
  const std::size_t first = kAudioEnd + id3v2SizeAt(after, kAudioEnd);
  EXPECT_EQ(after.size(), first + id3v2SizeAt(after, first));
  EXPECT_EQ(titleAt(directory, after, first), "one");
}

TEST_F(DsfSaveTest, ChangesNothingForAnEmptyTagThatWasNeverThere) {
  EXPECT_TRUE(saveEmptied(plain));
  EXPECT_EQ(readFile(plain), plainBefore);

  DeafStream stream(plainBefore);
  EXPECT_TRUE(TagLib::DSF::File(&stream).save());
  EXPECT_EQ(stream.changes, 0);
}

TEST_F(DsfSaveTest, RefusesAReadOnlyFile) {
  for (const bool empty : {false, true}) {
    {
      OpenDsf dsf(tagged, O_RDONLY);
      ASSERT_TRUE(dsf.file.isValid());
      dsf.file.tag()->setTitle("never");
      if (empty) dsf.emptyTag();
      EXPECT_FALSE(dsf.file.save());
    }
    EXPECT_EQ(readFile(tagged), taggedBefore);
  }
}

TEST_F(DsfSaveTest, ReportsSuccessWhateverBecomesOfTheWrites) {
  DeafStream stream(plainBefore);
  TagLib::DSF::File file(&stream);
  file.tag()->setTitle("lost");
  EXPECT_TRUE(file.save());
  EXPECT_EQ(stream.changes, 2);  // the pointer and the tag
  file.tag()->setTitle("lost as well");
  EXPECT_TRUE(file.save());
  EXPECT_EQ(stream.changes, 3);  // the tag alone
  file.tag()->setTitle("");
  EXPECT_TRUE(file.save());
  EXPECT_EQ(stream.changes, 5);  // the tag and the pointer
}

}  // namespace
}  // namespace tagwriter::test

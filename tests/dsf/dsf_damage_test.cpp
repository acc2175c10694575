// Damaged DSF files: truncated, or with wrong bytes in their chunks. Nothing crashes, and the audio
// stays as it is.
#include <gtest/gtest.h>

#include <random>

#include "tests/dsf/dsf_bytes.h"

namespace tagwriter::test {
namespace {

TEST(DamagedDsf, IsSavedWithoutLossWhereverItEnds) {
  const TemporaryDirectory directory;
  for (const std::int64_t pointer : {0, 156}) {  // no tag, and one beyond the end
    DsfBytes dsf;
    dsf.pointer = pointer;
    for (std::size_t length = 0; length <= 120; ++length) {
      SCOPED_TRACE(length);
      const std::string before = dsf.bytes().substr(0, length);
      const std::string path = directory.write("truncated.dsf", before);
      const bool valid = length >= 4;
      for (const bool empty : {true, false}) {
        OpenDsf truncated(path);
        EXPECT_EQ(truncated.file.isValid(), valid);
        EXPECT_EQ(truncated.file.tag() != nullptr, valid);
        EXPECT_EQ(truncated.file.audioProperties() != nullptr, valid);
        if (valid && !empty) truncated.file.tag()->setTitle("truncated");
        EXPECT_EQ(truncated.file.save(), valid);
      }
      const std::string after = readFile(path);
      ASSERT_GE(after.size(), before.size());
      ASSERT_TRUE(valid || after == before);
      // All but the pointer, which may be truncated itself.
      EXPECT_EQ(after.substr(0, std::min(length, kPointerAt)), before.substr(0, kPointerAt));
      for (std::size_t i = kFmtAt; i < length; ++i) ASSERT_EQ(after[i], before[i]) << i;
    }
  }
}

TEST(DamagedDsf, IsEditedWithoutACrash) {
  const TemporaryDirectory directory;
  const std::string whole = readFile(dataFile("dsf_tagged.dsf"));
  std::mt19937 random(20240229);
  int invalid = 0;
  int elsewhere = 0;
  for (int round = 0; round < 700; ++round) {
    SCOPED_TRACE(round);
    std::string before = whole;
    for (unsigned flips = random() % 6 + 1; flips > 0; --flips) {
      char& byte = before[random() % 92];  // in the chunks before the audio
      byte = static_cast<char>(byte ^ 1 << random() % 8);
    }
    // Only small pointers are inside the file, and single flips seldom produce them.
    if (round % 3 == 0) {
      before = withPointer(before, static_cast<std::int64_t>(random() % (2 * whole.size())));
    }
    const std::string path = directory.write("damaged.dsf", before);
    const bool magic = before.starts_with("DSD ");
    const bool samePointer = pointerOf(before) == pointerOf(whole);
    invalid += !magic;
    elsewhere += magic && !samePointer;
    {
      OpenDsf dsf(path);
      ASSERT_EQ(dsf.file.isValid(), magic);
      if (magic) {
        dsf.file.tag()->setTitle("damaged");
        if (round % 2 == 0) removeAllFrames(*dsf.file.tag());
      }
      ASSERT_EQ(dsf.file.save(), magic);
    }
    const std::string after = readFile(path);
    ASSERT_LT(after.size(), before.size() + (1 << 20));
    if (!magic) {
      ASSERT_TRUE(after == before);
    } else if (samePointer) {
      ASSERT_TRUE(withPointer(after.substr(0, kAudioEnd), 0) ==
                  withPointer(before.substr(0, kAudioEnd), 0));
    }
  }
  EXPECT_GT(invalid, 10);
  EXPECT_GT(elsewhere, 100);
}

}  // namespace
}  // namespace tagwriter::test

// Damaged DSF files: cut short, or with wrong bytes in their chunks. Nothing may crash, and nothing
// may be taken from them that is out of proportion.
#include <gtest/gtest.h>

#include <random>

#include "tests/dsf/allocation_meter.h"
#include "tests/dsf/dsf_bytes.h"
#include "tests/dsf/open_dsf.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

TEST(AllocationMeterTest, SeesWhatTheLibraryAllocates) {
  const AllocationMeter meter;
  const TagLib::ByteVector bytes(3 << 20, 0);
  EXPECT_GE(meter.largest(), std::size_t{3} << 20);
}

class CutDsfTest : public testing::TestWithParam<std::int64_t> {};

TEST_P(CutDsfTest, IsSavedWithoutLossAtEveryLength) {
  const TemporaryDirectory directory;
  DsfBytes dsf;
  dsf.pointer = GetParam();
  const std::string whole = dsf.bytes();
  ASSERT_GT(whole.size(), 120U);

  for (std::size_t length = 0; length <= 120; ++length) {
    SCOPED_TRACE(length);
    const std::string before = whole.substr(0, length);
    const std::string path = directory.write("cut.dsf", before);
    for (const bool empty : {true, false}) {
      OpenDsf cut(path);
      EXPECT_EQ(cut.file.isValid(), length >= 4);
      EXPECT_EQ(cut.file.tag() != nullptr, length >= 4);
      EXPECT_EQ(cut.file.audioProperties() != nullptr, length >= 4);
      if (cut.file.tag() && !empty) cut.file.tag()->setTitle("cut");
      EXPECT_EQ(cut.file.save(), length >= 4);
    }
    const std::string after = readFile(path);
    if (length < 4) {
      EXPECT_EQ(after, before);
      continue;
    }
    // All but the pointer, which may have been cut itself.
    ASSERT_GE(after.size(), before.size());
    EXPECT_EQ(after.substr(0, std::min(length, kPointerAt)),
              before.substr(0, std::min(length, kPointerAt)));
    if (length > kFmtAt) {
      EXPECT_EQ(after.substr(kFmtAt, length - kFmtAt), before.substr(kFmtAt));
    }
  }
}

// No tag, and one behind the end of every cut.
INSTANTIATE_TEST_SUITE_P(Pointers, CutDsfTest, testing::Values(0, 156));

TEST(DamagedDsfTest, IsEditedWithoutACrashOrAHugeAllocation) {
  constexpr int kRounds = 3000;
  const TemporaryDirectory directory;
  const std::string whole = readFile(dataFile("dsf_tagged.dsf"));
  std::mt19937 random(20240229);
  int invalid = 0;
  int elsewhere = 0;

  for (int round = 0; round < kRounds; ++round) {
    SCOPED_TRACE(round);
    std::string before = whole;
    for (unsigned flips = random() % 6 + 1; flips > 0; --flips) {
      char& byte = before[random() % kAudioAt];
      byte = static_cast<char>(byte ^ 1 << random() % 8);
    }
    // Small pointers are the ones that hit something; single flips seldom make them.
    if (round % 3 == 0) {
      before = withPointer(before, static_cast<std::int64_t>(random() % (2 * whole.size())));
    }
    const std::string path = directory.write("damaged.dsf", before);
    const bool magic = before.compare(0, 4, "DSD ") == 0;
    const bool samePointer = int64At(before, kPointerAt) == int64At(whole, kPointerAt);
    invalid += !magic;
    elsewhere += magic && !samePointer;

    const AllocationMeter meter;
    {
      OpenDsf dsf(path);
      ASSERT_EQ(dsf.file.isValid(), magic);
      if (magic) {
        ASSERT_NE(dsf.file.audioProperties(), nullptr);
        dsf.file.audioProperties()->length();
        dsf.file.audioProperties()->bitrate();
        dsf.file.tag()->setTitle("damaged");
        if (round % 2 == 0) dsf.emptyTag();
      }
      ASSERT_EQ(dsf.file.save(), magic);
    }
    ASSERT_LT(meter.largest(), std::size_t{1} << 20);

    const std::string after = readFile(path);
    ASSERT_LT(after.size(), before.size() + (1 << 20));
    if (!magic) {
      ASSERT_EQ(after, before);
    } else if (samePointer) {
      // Whatever the other fields say: all but the pointer stays as it was.
      ASSERT_EQ(withPointer(after, 0).substr(0, 8284), withPointer(before, 0).substr(0, 8284));
    }
  }
  EXPECT_GT(invalid, kRounds / 50);
  EXPECT_GT(elsewhere, kRounds / 10);
}

}  // namespace
}  // namespace tagwriter::test

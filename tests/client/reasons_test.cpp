// Why an edit is not made: a status for each reason that can be known.
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>

#include "client/room.h"
#include "tests/client/client_test.h"
#include "tests/client/file_state.h"
#include "tests/client/system_calls.h"
#include "tests/support/size_limit.h"

namespace tagwriter::test {
namespace {

constexpr std::int64_t kMax16Bit = 32767;
constexpr std::int64_t kMax32Bit = 2147483647;
constexpr std::size_t kMiB = std::size_t{1} << 20;

class Reasons : public ClientTest {
 protected:
  /// Makes the edits one after the other; all but the last must be written. The file stays as it
  /// was before the last one, unless that is written, too.
  Outcome edit(const std::string& name, const std::vector<Edit>& edits) {
    path_ = directory_.copyOf(name);
    FileState before;
    Outcome outcome;
    for (const Edit& edit : edits) {
      EXPECT_STATUS(Status::kWritten, outcome);
      before = stateOf(path_);
      outcome = writer_.write(path_, edit);
    }
    if (!outcome) {
      EXPECT_EQ(stateOf(path_), before);
    }
    return outcome;
  }
  template <typename Value>
  void expectRead(const char* key, Value value) {
    EXPECT_TRUE(reader_.readField(path_, key) == TrackValue(value)) << path_ << ' ' << key;
  }

  std::string path_;
};

TEST_F(Reasons, AreRangesOfNumbersThatAreReadBackAsTheyWere) {
  struct Range {
    const char* key;
    std::int64_t id3v2, mp4, others;
  };
  const Range ranges[] = {{"year", 9999, kMax32Bit, kMax32Bit},
                          {"bpm", kMax32Bit, kMax16Bit, kMax32Bit},
                          {"trackNumber", kMax32Bit, kMax16Bit, kMax32Bit},
                          {"totalNumberOfTracks", 99'999'999, kMax16Bit, 99'999'999},
                          {"disc", kMax32Bit, kMax16Bit, kMax32Bit}};
  for (const auto& [key, id3v2, mp4, others] : ranges) {
    const bool isTotal = key == std::string("totalNumberOfTracks");
    for (const std::string name :
         {"mp3_plain.mp3", "m4a_plain.m4a", "flac_plain.flac", "wma_plain.wma", "ape_plain.ape"}) {
      if (isTotal && name == "wma_plain.wma") continue;  // it keeps none
      const std::int64_t largest = name == "mp3_plain.mp3"   ? id3v2
                                   : name == "m4a_plain.m4a" ? mp4
                                                             : others;
      const auto number = name == "m4a_plain.m4a" ? kMax16Bit : kMax32Bit;
      const std::vector<Edit> prepared(isTotal, Edit::setField("trackNumber", number));
      const auto set = [&](std::int64_t value) {
        std::vector<Edit> edits = prepared;
        edits.push_back(Edit::setField(key, value));
        return edit(name, edits);
      };
      EXPECT_STATUS(Status::kWritten, set(largest)) << name << ' ' << key;
      expectRead(key, largest);
      if (isTotal) expectRead("trackNumber", number);
      EXPECT_STATUS(Status::kWritten, set(0)) << name << ' ' << key;
      for (const std::int64_t value : {largest + 1, std::int64_t{-1}, std::int64_t{1} << 32,
                                       std::numeric_limits<std::int64_t>::min()}) {
        EXPECT_STATUS(Status::kOutOfRange, set(value)) << name << ' ' << key << ' ' << value;
      }
    }
  }
  EXPECT_STATUS(Status::kOutOfRange, edit("flac_plain.flac", {Edit::setDisc(1, -1)}));
}

TEST_F(Reasons, AreRatingsOfMoreOrLessThanFiveStars) {
  for (const char* name : {"mp3_plain.mp3", "wma_plain.wma", "ape_plain.ape"}) {
    for (const double stars : {0.0, 5.0}) {
      EXPECT_STATUS(Status::kWritten, edit(name, {Edit::setField("rating", stars)}));
      expectRead("rating", stars);
    }
    for (const double stars : {-0.001, 5.001, 1e300, std::nan("")}) {
      const Outcome outcome = edit(name, {Edit::setField("rating", stars)});
      EXPECT_STATUS(Status::kOutOfRange, outcome) << stars;
      EXPECT_EQ(outcome.detail(), "rating must be from 0 to 5");
    }
  }
}

TEST_F(Reasons, AreTotalsWithoutANumberWhereTheyAreOneText) {
  for (const std::string name :
       {"mp3_plain.mp3", "aiff_plain.aiff", "wav_plain.wav", "dsf_plain.dsf", "ape_plain.ape",
        "wavpack_plain.wv", "mpc_plain.mpc", "m4a_plain.m4a", "flac_plain.flac",
        "vorbis_plain.ogg"}) {
    SCOPED_TRACE(name);
    const Edit total = Edit::setField("totalNumberOfTracks", std::int64_t{12});
    const bool keepsItAlone =
        name == "m4a_plain.m4a" || name == "flac_plain.flac" || name == "vorbis_plain.ogg";
    EXPECT_STATUS(keepsItAlone ? Status::kWritten : Status::kNeedsTrackNumber, edit(name, {total}));

    // In any order, the number is there first.
    const Edit series[] = {total, Edit::setField("title", "T"),
                           Edit::setField("trackNumber", std::int64_t{3})};
    path_ = directory_.copyOf(name);
    EXPECT_STATUS(Status::kWritten, writer_.write(path_, series));
    expectRead("trackNumber", std::int64_t{3});
    expectRead("totalNumberOfTracks", std::int64_t{12});

    // Clearing the total keeps the number.
    EXPECT_STATUS(Status::kWritten, writer_.clearField(path_, "totalNumberOfTracks"));
    expectRead("trackNumber", std::int64_t{3});
    EXPECT_FALSE(reader_.readField(path_, "totalNumberOfTracks").value_or(std::int64_t{0}) !=
                 TrackValue(std::int64_t{0}));
  }
  const Edit failing[] = {Edit::setField("totalNumberOfTracks", std::int64_t{-1}),
                          Edit::setField("trackNumber", std::int64_t{3})};
  path_ = directory_.copyOf("mp3_plain.mp3");
  const Outcome failed = writer_.write(path_, failing);
  EXPECT_EQ(failed.edit(), 0) << "the index is that of the caller";
  EXPECT_TRUE(failed.mayHaveTouchedFile()) << "the number was written first";
  expectRead("trackNumber", std::int64_t{3});
}

TEST_F(Reasons, AreBlocksThatWouldBeTooLarge) {
  const std::string text(10 * kMiB, 'x');
  const std::vector<std::byte> image(16 * kMiB);
  const Edit cover = Edit::setCover(image, ImageType::kPNG, true);
  const Edit lyrics = Edit::setField("lyrics", text);
  EXPECT_STATUS(Status::kBlockTooLarge, edit("flac_plain.flac", {cover}));
  EXPECT_STATUS(Status::kWritten, edit("mp3_plain.mp3", {cover}));
  EXPECT_STATUS(Status::kBlockTooLarge,
                edit("flac_plain.flac", {Edit::setField("lyrics", text + text)}));
  EXPECT_STATUS(Status::kWritten, edit("flac_plain.flac", {lyrics, lyrics}));
  EXPECT_STATUS(Status::kBlockTooLarge,
                edit("flac_plain.flac", {lyrics, Edit::setField("comment", text)}));

  // 16-bit lengths in bytes, of UTF-16 with a terminator; 𝄞 takes four bytes.
  for (const char* key : {"title", "artist", "comment"}) {
    const auto set = [&](const std::string& value) {
      return edit("wma_plain.wma", {Edit::setField(key, value)});
    };
    EXPECT_STATUS(Status::kWritten, set(std::string(32766, 'x')));
    EXPECT_STATUS(Status::kBlockTooLarge, set(std::string(32767, 'x')));
    EXPECT_STATUS(Status::kWritten, set(std::string(32764, 'x') + "𝄞"));
    EXPECT_STATUS(Status::kBlockTooLarge, set(std::string(32764, 'x') + "𝄞é"));
  }
  EXPECT_STATUS(Status::kWritten,
                edit("wma_plain.wma", {Edit::setField("composer", std::string(40'000, 'x'))}));
}

TEST_F(Reasons, AreWhatIsInTheFile) {
  const Edit cue = Edit::setField("cueSheet", "C");
  for (const char* name : {"flac_plain.flac", "mp3_plain.mp3", "ape_plain.ape"}) {
    EXPECT_STATUS(Status::kNothingToRemove, edit(name, {Edit::clearCovers()})) << name;
  }
  EXPECT_STATUS(Status::kFieldNotKept, edit("ape_plain.ape", {cue}));
  EXPECT_STATUS(Status::kWritten, edit("ape_plain.ape", {Edit::setField("composer", "C"), cue}));
  EXPECT_STATUS(Status::kNotThisType, edit("speex.oga", {Edit::setField("composer", "C")}));
  for (const char* name : {"noise.flac", "noise.m4a", "noise.ogg"}) {
    const std::string path = directory_.write(name, std::string(1000, '\1'));
    for (const char* key : {"title", "composer"}) {
      EXPECT_STATUS(Status::kNotThisType, writer_.setField(path, key, "T")) << name;
    }
    EXPECT_EQ(readFile(path), std::string(1000, '\1'));
  }
}

TEST_F(Reasons, AreNotGuessed) {
  ::setenv("DAMAGE", "title", 1);  // refused without a reason
  TagWriter writer(TAGWRITER_STAND_IN);
  const Outcome outcome = writer.setField(directory_.copyOf("mp3_plain.mp3"), "title", "T");
  ::unsetenv("DAMAGE");
  EXPECT_STATUS(Status::kRefused, outcome);
  EXPECT_EQ(outcome.detail(), "");
}

TEST_F(Reasons, TellThatTheTrackNumberIsLost) {
  path_ = directory_.copyOf("mp3_plain.mp3");
  EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "trackNumber", std::int64_t{3}));
  ::setenv("DAMAGE", "trackNumber", 1);
  TagWriter writer(TAGWRITER_STAND_IN);
  const Outcome outcome = writer.clearField(path_, "totalNumberOfTracks");
  ::unsetenv("DAMAGE");
  EXPECT_STATUS(Status::kIncomplete, outcome);
  EXPECT_TRUE(outcome.mayHaveTouchedFile());
}

class Room : public ClientTest {
 protected:
  std::string path_ = directory_.copyOf("mp3_plain.mp3");
  UniqueFd file_ = openFile(path_);
};

TEST_F(Room, IsAskedForInAFileThatLeavesNoTrace) {
  const FileState before = stateOf(path_);
  EXPECT_STATUS(Status::kWritten, checkRoom(file_.get(), kMiB));
  for (const int error : {ENOSPC, EDQUOT}) {
    const Interception full(Call::kFallocate, error);
    const Outcome outcome = checkRoom(file_.get(), 1);
    EXPECT_STATUS(Status::kNoSpace, outcome);
    EXPECT_EQ(outcome.detail(), std::strerror(error));
  }
  EXPECT_EQ(stateOf(path_), before);
  EXPECT_EQ(namesIn(directory_.path()), std::vector<std::string>{"mp3_plain.mp3"});
}

TEST_F(Room, IsCountedWhereItCannotBeReserved) {
  const Interception unsupported(Call::kFallocate, EOPNOTSUPP);
  EXPECT_STATUS(Status::kWritten, checkRoom(file_.get(), kMiB));
  constexpr std::uint64_t kMoreThanAnyDisk = std::uint64_t{1} << 60;
  EXPECT_STATUS(Status::kNoSpace, checkRoom(file_.get(), kMoreThanAnyDisk));
}

TEST_F(Room, IsLimitedByTheSizeOfTheFile) {
  const SizeLimit limit(std::filesystem::file_size(path_) + kMiB);
  EXPECT_STATUS(Status::kWritten, checkRoom(file_.get(), kMiB / 2));
  EXPECT_STATUS(Status::kNoSpace, checkRoom(file_.get(), kMiB));
}

}  // namespace
}  // namespace tagwriter::test

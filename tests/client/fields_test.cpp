// Every field in every kind of container, written and read back; and what readField does with other
// files.
#include <asffile.h>
#include <fcntl.h>
#include <id3v2tag.h>
#include <mp4file.h>
#include <mpegfile.h>
#include <opusfile.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <textidentificationframe.h>
#include <unistd.h>
#include <vorbisfile.h>

#include <filesystem>

#include "protocol/fields.h"
#include "tests/client/client_test.h"

namespace tagwriter::test {
namespace {

/// A file of each file class, with and without tags. Cue sheets go only into Xiph comments and into
/// the APE tags of two formats; ASF has no number of tracks.
struct Container {
  const char* name;
  bool takesCueSheet = false;
  bool takesTotal = true;
};

const Container kContainers[] = {
    {"mp3_plain.mp3"},
    {"mp3_id3v23.mp3"},
    {"mp3_id3v24_id3v1.mp3"},
    {"m4a_plain.m4a"},
    {"m4a_tagged.m4a"},
    {"flac_plain.flac", true},
    {"flac_comment.flac", true},
    {"vorbis_plain.ogg", true},
    {"vorbis.oga", true},
    {"flac.oga", true},
    {"opus_plain.opus", true},
    {"wma_plain.wma", false, false},
    {"wma_tagged.wma", false, false},
    {"aiff_plain.aiff"},
    {"wav_plain.wav"},
    {"wav_info.wav"},
    {"dsf_plain.dsf"},
    {"dsf_tagged.dsf"},
    {"ape_tagged.ape", true},
    {"wavpack_tagged.wv", true},
    {"mpc_tagged.mpc"},
};

TrackValue valueFor(const field::Field& field, int round) {
  switch (field.type) {
    case field::Type::kString:
      return "Füße, " + std::string(field.key) + ' ' + std::to_string(round);
    case field::Type::kInt64:
      return std::int64_t{11} + round;
    case field::Type::kDouble:
      return 3.5 + round;
    case field::Type::kBool:
      return true;
  }
  return {};
}

/// Whether a field is cleared: some families store 0 or false instead of removing it.
bool isCleared(const std::optional<TrackValue>& value) {
  return !value || *value == TrackValue(std::int64_t{0}) || *value == TrackValue(0.0) ||
         *value == TrackValue(false);
}

class Fields : public ClientTest, public testing::WithParamInterface<Container> {
 protected:
  bool takes(std::string_view key) const {
    if (key == field::kCueSheet) return GetParam().takesCueSheet;
    return key != field::kTotalNumberOfTracks || GetParam().takesTotal;
  }
  void expectNumber(const char* key, std::int64_t number) {
    EXPECT_TRUE(reader_.readField(path_, key) == TrackValue(number)) << key;
  }
  std::string path_ = directory_.copyOf(GetParam().name);
};

TEST_P(Fields, AreReadBackAsWritten) {
  for (const field::Field& field : field::kAll) {
    if (field.key == std::string_view(field::kTotalNumberOfDiscs)) continue;
    SCOPED_TRACE(field.key);
    if (!takes(field.key)) {
      EXPECT_STATUS(Status::kFieldNotKept, writer_.setField(path_, field.key, valueFor(field, 0)));
      EXPECT_FALSE(reader_.readField(path_, field.key).has_value());
      continue;
    }
    if (field.key == std::string_view(field::kTotalNumberOfTracks)) {
      // Most families cannot store it without the track number.
      EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "trackNumber", std::int64_t{1}));
    }
    for (const int round : {0, 1}) {
      EXPECT_STATUS(Status::kWritten, writer_.setField(path_, field.key, valueFor(field, round)));
      EXPECT_TRUE(reader_.readField(path_, field.key) == valueFor(field, round));
    }
    EXPECT_STATUS(Status::kWritten, writer_.clearField(path_, field.key));
    EXPECT_TRUE(isCleared(reader_.readField(path_, field.key)));
  }
}

TEST_P(Fields, KeepANumberAndItsTotalApart) {
  for (const std::int64_t disc : {2, 4}) {
    EXPECT_STATUS(Status::kWritten, writer_.write(path_, Edit::setDisc(disc, disc + 1)));
    expectNumber("disc", disc);
    expectNumber("totalNumberOfDiscs", disc + 1);
  }
  EXPECT_STATUS(Status::kWritten, writer_.write(path_, Edit::setDisc(0, 0)));
  EXPECT_TRUE(isCleared(reader_.readField(path_, "totalNumberOfDiscs")));
  if (!GetParam().takesTotal) return;
  EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "trackNumber", std::int64_t{7}));
  EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "totalNumberOfTracks", std::int64_t{12}));
  expectNumber("trackNumber", 7);
  EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "trackNumber", std::int64_t{8}));
  expectNumber("totalNumberOfTracks", 12);
}

INSTANTIATE_TEST_SUITE_P(Of, Fields, testing::ValuesIn(kContainers), [](const auto& info) {
  std::string name = info.param.name;
  name[name.rfind('.')] = '_';
  return name;
});

class ReadField : public ClientTest {};

TEST_F(ReadField, ReadsWhatOtherProgramsWrite) {
  const std::string ogg = directory_.copyOf("vorbis_plain.ogg");
  {
    TagLib::Vorbis::File file(ogg.c_str());
    file.tag()->addField("COMPOSER", "One");
    file.tag()->addField("COMPOSER", "Two", false);
    ASSERT_TRUE(file.save());
  }
  EXPECT_TRUE(reader_.readField(ogg, "composer") == TrackValue(std::string("One Two")));

  const std::string mp3 = directory_.copyOf("mp3_plain.mp3");
  {
    TagLib::MPEG::File file(mp3.c_str());
    auto* frame = new TagLib::ID3v2::UserTextIdentificationFrame;
    frame->setDescription("CATALOGNUMBER");
    file.ID3v2Tag(true)->addFrame(frame);
    ASSERT_TRUE(file.save());
  }
  EXPECT_TRUE(reader_.readField(mp3, "catalogNumber") == TrackValue(std::string()))
      << "it has no value";

  const std::string wma = directory_.copyOf("wma_plain.wma");
  {
    TagLib::ASF::File file(wma.c_str());
    file.tag()->setAttribute("WM/TrackNumber", TagLib::ASF::Attribute(0U));
    ASSERT_TRUE(file.save());
  }
  EXPECT_FALSE(reader_.readField(wma, "trackNumber").has_value());

  const std::string opus = directory_.copyOf("opus_plain.opus");
  for (const std::int64_t number : {0, -3}) {
    TagLib::Ogg::Opus::File file(opus.c_str());
    file.tag()->addField("TRACKNUMBER", TagLib::String::number(static_cast<int>(number)));
    ASSERT_TRUE(file.save());
    EXPECT_TRUE(reader_.readField(opus, "trackNumber") == TrackValue(number));
  }

  const std::string m4a = directory_.copyOf("m4a_plain.m4a");
  {
    TagLib::MP4::File file(m4a.c_str());
    TagLib::StringList comments("One");
    comments.append("Two");
    file.tag()->setItem("\251cmt", comments);
    ASSERT_TRUE(file.save());
  }
  EXPECT_TRUE(reader_.readField(m4a, "comment") == TrackValue(std::string("One Two")));
}

TEST_F(ReadField, ReturnsNothingForAnUnknownKeyOrAnUnreadableFile) {
  const std::string mp3 = directory_.copyOf("mp3_id3v23.mp3");
  for (const char* key : {"", "titel", "Title", "path"}) {
    EXPECT_FALSE(reader_.readField(mp3, key).has_value()) << key;
  }
  const std::string zero = in(directory_, "zero.mp3");
  std::filesystem::create_symlink("/dev/zero", zero);
  const UniqueFd device = openFile("/dev/zero", O_RDWR);
  const UniqueFd directory = openFile(directory_.path(), O_RDONLY | O_DIRECTORY);
  const UniqueFd file = openFile(mp3, O_RDONLY);
  const std::string withZeroByte = mp3 + std::string("\0.mp3", 5);
  for (const AudioFile& unreadable :
       {AudioFile(in(directory_, "missing.mp3")), AudioFile(directory_.path().string()),
        AudioFile(directory_.write("noise.flac", "no audio")),
        AudioFile(directory_.copyOf("ac3.ac3")), AudioFile(zero),
        AudioFile(device.get(), "zero.mp3"), AudioFile(directory.get(), "a.mp3"),
        AudioFile(12345, "song.mp3"), AudioFile(-1, mp3), AudioFile(withZeroByte),
        AudioFile(file.get(), withZeroByte)}) {
    EXPECT_FALSE(reader_.readField(unreadable, "title").has_value()) << unreadable.path();
    EXPECT_FALSE(reader_.readField(unreadable, "composer").has_value()) << unreadable.path();
  }
  // What they are compared with: a readable file, for which a read-only descriptor is enough.
  EXPECT_TRUE(reader_.readField(AudioFile(file.get(), mp3), "title").has_value());
}

TEST_F(ReadField, NeitherWaitsForAPipeNorConsumesIt) {
  const std::string fifo = in(directory_, "fifo.mp3");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_FALSE(reader_.readField(fifo, "title").has_value()) << "and it must not wait for a writer";
  const UniqueFd pipe = openFile(fifo, O_RDWR);
  ASSERT_EQ(::write(pipe.get(), "ID3", 3), 3);
  for (const char* key : {"title", "composer"}) {
    EXPECT_FALSE(reader_.readField(fifo, key).has_value());
    EXPECT_FALSE(reader_.readField(AudioFile(pipe.get(), fifo), key).has_value());
  }
  int remaining = 0;
  ASSERT_EQ(::ioctl(pipe.get(), FIONREAD, &remaining), 0);
  EXPECT_EQ(remaining, 3);
}

}  // namespace
}  // namespace tagwriter::test

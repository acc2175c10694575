// Every field into every kind of container, and back out of it.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "protocol/fields.h"
#include "tests/client/client_test.h"

namespace tagwriter::test {
namespace {

/// A file for each file class that a tag is written into. A cue sheet goes only into Xiph comments
/// and into the APE tags of two formats; ASF has no number of tracks.
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

/// A value that no file has yet; `round` makes another one.
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

/// Whether the value says that the field is not there. Text is then absent; what is no text may say
/// 0 or no, because some families have a place for that.
bool isGone(const std::optional<TrackValue>& value, field::Type type) {
  if (!value) return true;
  switch (type) {
    case field::Type::kString:
      return false;
    case field::Type::kInt64:
      return *value == TrackValue(std::int64_t{0});
    case field::Type::kDouble:
      return *value == TrackValue(0.0);
    case field::Type::kBool:
      return *value == TrackValue(false);
  }
  return false;
}

class Fields : public ClientTest, public testing::WithParamInterface<Container> {
 protected:
  bool takes(std::string_view key) const {
    if (key == field::kCueSheet) return GetParam().takesCueSheet;
    if (key == field::kTotalNumberOfTracks) return GetParam().takesTotal;
    return true;
  }
  std::optional<TrackValue> read(std::string_view key) const { return readField(path_, key); }

  std::string path_ = directory_.copyOf(GetParam().name);
};

TEST_P(Fields, ComeBackAsTheyWereWritten) {
  for (const int round : {0, 1}) {
    for (const field::Field& field : field::kAll) {
      if (field.key == std::string_view(field::kTotalNumberOfDiscs)) continue;
      SCOPED_TRACE(field.key);
      const TrackValue value = valueFor(field, round);
      if (takes(field.key)) {
        EXPECT_STATUS(Status::kWritten, writer_.setField(path_, field.key, value));
        EXPECT_TRUE(read(field.key) == value);
      } else {
        EXPECT_STATUS(Status::kRefused, writer_.setField(path_, field.key, value));
        EXPECT_FALSE(read(field.key).has_value());
      }
    }
  }
}

TEST_P(Fields, GoAway) {
  for (const field::Field& field : field::kAll) {
    if (field.key == std::string_view(field::kTotalNumberOfDiscs) || !takes(field.key)) continue;
    SCOPED_TRACE(field.key);
    if (field.key == std::string_view(field::kTotalNumberOfTracks)) {
      // Most families have no place for it without the track's own number.
      ASSERT_STATUS(Status::kWritten, writer_.setField(path_, "trackNumber", std::int64_t{1}));
    }
    ASSERT_STATUS(Status::kWritten, writer_.setField(path_, field.key, valueFor(field, 0)));
    ASSERT_TRUE(read(field.key) == valueFor(field, 0));
    EXPECT_STATUS(Status::kWritten, writer_.clearField(path_, field.key));
    EXPECT_TRUE(isGone(read(field.key), field.type));
  }
}

TEST_P(Fields, OfADiscComeTogether) {
  EXPECT_STATUS(Status::kWritten, writer_.write(path_, Edit::setDisc(2, 3)));
  EXPECT_TRUE(read("disc") == TrackValue(std::int64_t{2}));
  EXPECT_TRUE(read("totalNumberOfDiscs") == TrackValue(std::int64_t{3}));
  EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "disc", std::int64_t{4}));
  EXPECT_TRUE(read("disc") == TrackValue(std::int64_t{4}));
  EXPECT_STATUS(Status::kWritten, writer_.write(path_, Edit::setDisc(0, 0)));
  EXPECT_TRUE(isGone(read("disc"), field::Type::kInt64));
  EXPECT_TRUE(isGone(read("totalNumberOfDiscs"), field::Type::kInt64));
}

TEST_P(Fields, OfATrackStandSideBySide) {
  if (!GetParam().takesTotal) return;  // refused, as ComeBackAsTheyWereWritten shows
  EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "trackNumber", std::int64_t{7}));
  EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "totalNumberOfTracks", std::int64_t{12}));
  EXPECT_TRUE(read("trackNumber") == TrackValue(std::int64_t{7}));
  EXPECT_TRUE(read("totalNumberOfTracks") == TrackValue(std::int64_t{12}));
  EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "trackNumber", std::int64_t{8}));
  EXPECT_TRUE(read("totalNumberOfTracks") == TrackValue(std::int64_t{12}));
}

INSTANTIATE_TEST_SUITE_P(Of, Fields, testing::ValuesIn(kContainers), [](const auto& info) {
  std::string name = info.param.name;
  for (char& c : name) {
    if (c == '.') c = '_';
  }
  return name;
});

class ReadField : public ClientTest {};

TEST_F(ReadField, SaysNothingWhereThereIsNothing) {
  const std::string mp3 = directory_.copyOf("mp3_plain.mp3");
  for (const field::Field& field : field::kAll) {
    EXPECT_FALSE(readField(mp3, field.key).has_value()) << field.key;
  }
  for (const char* key : {"", "titel", "Title", "path"}) {
    EXPECT_FALSE(readField(directory_.copyOf("mp3_id3v23.mp3"), key).has_value()) << key;
  }
}

TEST_F(ReadField, SaysNothingOfFilesThatCannotBeRead) {
  const std::string noise = directory_.write("noise.flac", "no audio at all");
  for (const std::string& path : {in(directory_, "missing.mp3"), directory_.path().string(), noise,
                                  std::string("/dev/null"), directory_.copyOf("ac3.ac3")}) {
    EXPECT_FALSE(readField(path, "title").has_value()) << path;
    EXPECT_FALSE(readField(path, "composer").has_value()) << path;
  }
  EXPECT_FALSE(readField(AudioFile(12345, "song.mp3"), "title").has_value());
}

/// How many bytes wait in a pipe.
int waitingIn(const UniqueFd& pipe) {
  int count = -1;
  EXPECT_EQ(::ioctl(pipe.get(), FIONREAD, &count), 0);
  return count;
}

TEST_F(ReadField, TakesNothingOutOfAPipe) {
  const std::string fifo = in(directory_, "fifo.mp3");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const UniqueFd writer = openFile(fifo, O_RDWR);
  ASSERT_EQ(::write(writer.get(), "ID3", 3), 3);
  // By the path, by a descriptor that says so when there is nothing more, and by one that waits.
  for (const int flags : {-1, O_RDONLY | O_NONBLOCK, O_RDONLY}) {
    for (const char* key : {"title", "composer"}) {
      const UniqueFd reader = openFile(fifo, flags < 0 ? O_RDONLY : flags);
      const AudioFile file = flags < 0 ? AudioFile(fifo) : AudioFile(reader.get(), fifo);
      EXPECT_FALSE(readField(file, key).has_value());
      ASSERT_EQ(waitingIn(writer), 3) << flags;
    }
  }
}

TEST_F(ReadField, DoesNotWaitForThePipesWriter) {
  const std::string fifo = in(directory_, "fifo.mp3");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_FALSE(readField(fifo, "title").has_value());
}

TEST_F(ReadField, ReadsRegularFilesOnly) {
  const UniqueFd zero = openFile("/dev/zero", O_RDWR);
  const UniqueFd directory = openFile(directory_.path(), O_RDONLY | O_DIRECTORY);
  const std::string device = in(directory_, "zero.mp3");
  std::filesystem::create_symlink("/dev/zero", device);
  for (const AudioFile& file : {AudioFile(device), AudioFile(zero.get(), "zero.mp3"),
                                AudioFile(directory.get(), "directory.mp3")}) {
    EXPECT_FALSE(readField(file, "title").has_value()) << file.path();
    EXPECT_FALSE(readField(file, "composer").has_value()) << file.path();
  }
}

TEST_F(ReadField, TakesNoPathWithAZeroByte) {
  const std::string path = directory_.copyOf("mp3_id3v23.mp3");
  const UniqueFd file = openFile(path, O_RDONLY);
  ASSERT_TRUE(readField(path, "title").has_value());
  const std::string longer = path + std::string("\0.mp3", 5);
  EXPECT_FALSE(readField(longer, "title").has_value());
  EXPECT_FALSE(readField(AudioFile(file.get(), longer), "title").has_value());
}

TEST_F(ReadField, NeedsNoRightToWrite) {
  const std::string path = directory_.copyOf("mp3_id3v23.mp3");
  const UniqueFd file = openFile(path, O_RDONLY);
  const auto title = readField(AudioFile(file.get(), path), "title");
  ASSERT_TRUE(title.has_value());
  EXPECT_EQ(title, readField(path, "title"));
}

}  // namespace
}  // namespace tagwriter::test

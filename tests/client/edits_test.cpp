// Edits in place: what is written, where a series stops, and what is rejected with which status.
#include <fcntl.h>

#include "protocol/fields.h"
#include "tests/client/client_test.h"
#include "tests/client/file_state.h"

namespace tagwriter::test {
namespace {

Edit title(const std::string& text) {
  return Edit::setField("title", text);
}

class Edits : public ClientTest {
 protected:
  std::string path_ = directory_.copyOf("flac_plain.flac");
  FileState before_ = stateOf(path_);
};

TEST_F(Edits, AreMadeInOrder) {
  const Edit edits[] = {title("One"), Edit::setField("artist", std::string("A")), title("Two"),
                        Edit::clearField("artist"), Edit::setDisc(1, 2)};
  EXPECT_STATUS(Status::kWritten, writer_.write(path_, edits));
  EXPECT_EQ(titleOf(path_), "Two");
  EXPECT_FALSE(readField(path_, "artist").has_value());
  EXPECT_TRUE(readField(path_, "totalNumberOfDiscs") == TrackValue(std::int64_t{2}));
}

TEST_F(Edits, StopAtTheFirstFailure) {
  const std::vector<std::byte> image(std::size_t{64} << 20);
  const std::pair<Status, Edit> failures[] = {
      {Status::kUnknownField, Edit::setField("titel", std::string("?"))},
      {Status::kFieldNotKept, Edit::setField("cueSheet", std::string("not in an MP3"))},
      {Status::kRequestTooLarge, Edit::setCover(image, ImageType::kPNG, true)}};
  for (const auto& [status, failing] : failures) {
    const std::string mp3 = directory_.copyOf("mp3_plain.mp3");
    const Edit edits[] = {title("One"), failing, title("Two")};
    for (const bool safe : {true, false}) {
      const Outcome outcome = writer_.write(mp3, edits, {.safe = safe});
      EXPECT_STATUS(status, outcome);
      EXPECT_EQ(outcome.edit(), 1);
      EXPECT_EQ(titleOf(mp3), safe ? "-" : "One");
    }
  }
}

TEST_F(Edits, AreByTheNameOfTheFile) {
  // The name decides the format, here an MP3 whose descriptor is called FLAC.
  const std::string mp3 = directory_.copyOf("mp3_plain.mp3", "caf\xe9.mp3");
  const UniqueFd file = openFile(mp3);
  const Edit composer = Edit::setField("composer", std::string("C"));
  EXPECT_STATUS(Status::kNotThisType,
                writer_.write({file.get(), "song.flac"}, composer, {.anyFile = true}));
  EXPECT_STATUS(Status::kWritten, writer_.write({file.get(), "song.mp3"}, composer));
  EXPECT_STATUS(Status::kWritten, writer_.write(mp3, title("One")));
  EXPECT_EQ(titleOf(mp3), "One");
}

TEST_F(Edits, SetKeepReplaceAndRemoveCovers) {
  const std::vector<std::byte> red = imageBytes("cover_red.png");
  const std::vector<std::byte> blue = imageBytes("cover_blue.jpg");
  // By itself, the service replaces pictures in some formats and ignores the edit in others.
  for (const char* name :
       {"mp3_plain.mp3", "m4a_plain.m4a", "flac_plain.flac", "vorbis_plain.ogg", "flac.oga",
        "opus_plain.opus", "wma_plain.wma", "aiff_plain.aiff", "wav_plain.wav", "ape_plain.ape",
        "wavpack_plain.wv", "mpc_plain.mpc", "dsf_plain.dsf"}) {
    SCOPED_TRACE(name);
    const std::string path = directory_.copyOf(name, std::string("cover_") + name);
    EXPECT_STATUS(Status::kWritten,
                  writer_.write(path, Edit::setCover(red, ImageType::kPNG, false)));
    const FileState withRed = stateOf(path);
    if (name == std::string("mp3_plain.mp3")) {
      EXPECT_NE(withRed.bytes.find("image/png"), std::string::npos);
    }
    for (const bool safe : {false, true}) {
      EXPECT_STATUS(
          Status::kHasPicture,
          writer_.write(path, Edit::setCover(blue, ImageType::kJPEG, false), {.safe = safe}));
    }
    EXPECT_EQ(stateOf(path), withRed);
    EXPECT_STATUS(Status::kWritten,
                  writer_.write(path, Edit::setCover(blue, ImageType::kJPEG, true)));
    EXPECT_NE(readFile(path), withRed.bytes);
    EXPECT_STATUS(Status::kWritten, writer_.write(path, Edit::clearCovers()));
    EXPECT_STATUS(Status::kWritten,
                  writer_.write(path, Edit::setCover(red, ImageType::kPNG, false)));
  }
}

TEST_F(Edits, OfUnknownFieldsAndWrongTypesAreRejected) {
  const TrackValue values[] = {std::string("1"), std::int64_t{1}, 1.0, true};
  for (const field::Field& field : field::kAll) {
    for (const TrackValue& value : values) {
      if (value.index() == static_cast<std::size_t>(field.type)) continue;
      EXPECT_STATUS(Status::kUnknownField, writer_.setField(path_, field.key, value)) << field.key;
    }
  }
  EXPECT_EQ(writer_.setField(path_, "rating", std::int64_t{4}).detail(), "rating: takes a double");
  for (const char* key : {"titel", "Title", "title ", "", "path", "totalNumberOfDiscs"}) {
    SCOPED_TRACE(key);
    EXPECT_STATUS(Status::kUnknownField, writer_.setField(path_, key, std::int64_t{1}));
    EXPECT_STATUS(Status::kUnknownField, writer_.clearField(path_, key, {.safe = true}));
  }
  EXPECT_EQ(stateOf(path_), before_);
  EXPECT_EQ(children().size(), 0) << "a worker was started for nothing";
}

TEST_F(Edits, OfUnsuitableFilesAreRejected) {
  const UniqueFd append = openFile(path_, O_RDWR | O_APPEND);
  const std::string withZeroByte = path_ + std::string("\0.flac", 6);
  const std::pair<Status, AudioFile> files[] = {{Status::kNotFound, in(directory_, "missing.mp3")},
                                                {Status::kNotFound, {-1, path_}},
                                                {Status::kNotFound, withZeroByte},
                                                {Status::kNotFound, {append.get(), withZeroByte}},
                                                {Status::kOpenedForAppend, {append.get(), path_}}};
  for (const auto& [status, file] : files) {
    EXPECT_STATUS(status, writer_.write(file, title("T")));
    EXPECT_STATUS(status, writer_.write(file, title("T"), {.safe = true}));
    EXPECT_STATUS(status, writer_.write(file, std::span<const Edit>()));
  }
  EXPECT_EQ(stateOf(path_), before_);
  EXPECT_EQ(children().size(), 0) << "a worker was started for nothing";
}

TEST_F(Edits, WithTextThatIsNotUtf8AreRejected) {
  for (const std::string& text : {std::string("a\0b", 3), std::string("\0", 1),
                                  std::string("T\xe4"), std::string("\xed\xa0\x80")}) {
    EXPECT_STATUS(Status::kInvalidText, writer_.write(path_, title(text)));
    EXPECT_STATUS(Status::kInvalidText, writer_.write(path_, title(text), {.safe = true}));
  }
  EXPECT_EQ(stateOf(path_), before_);
}

TEST_F(Edits, ThatAreNoneChangeNothing) {
  EXPECT_STATUS(Status::kWritten, writer_.write(path_, std::span<const Edit>()));
  EXPECT_STATUS(Status::kWritten, writer_.write(path_, std::span<const Edit>(), {.safe = true}));
  EXPECT_EQ(stateOf(path_), before_);
}

TEST(Outcome, HasADistinctMessageForEachStatus) {
  std::set<std::string> messages;
  for (int i = 0; i <= static_cast<int>(Status::kNoSpace); ++i) {
    const auto status = static_cast<Status>(i);
    const std::string message = Outcome{status}.message();
    EXPECT_NE(message, "");
    EXPECT_TRUE(messages.insert(message).second) << message;
    EXPECT_EQ(Outcome({status, "why"}).message(), message + ": why");
    EXPECT_EQ(static_cast<bool>(Outcome{status}), status == Status::kWritten);
  }
}

}  // namespace
}  // namespace tagwriter::test

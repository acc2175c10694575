// Every status that an edit can come back with, and what it says to people.
#include <fcntl.h>
#include <sys/stat.h>

#include <cctype>

#include "protocol/fields.h"
#include "tests/client/client_test.h"
#include "tests/client/file_state.h"

namespace tagwriter::test {
namespace {

class Refusal : public ClientTest {
 protected:
  /// An edit of `file` that must come to nothing.
  Outcome setTitle(const AudioFile& file, const WriteOptions& options = {}) {
    return writer_.setField(file, "title", std::string("Title"), options);
  }

  std::string path_ = directory_.copyOf("mp3_plain.mp3");
  FileState before_ = stateOf(path_);
};

TEST_F(Refusal, OfFieldsThatDoNotExist) {
  for (const char* key : {"titel", "Title", "title ", "", "path", "totalNumberOfDiscs"}) {
    SCOPED_TRACE(key);
    EXPECT_STATUS(Status::kUnknownField, writer_.setField(path_, key, std::string("x")));
    EXPECT_STATUS(Status::kUnknownField, writer_.setField(path_, key, std::int64_t{1}));
    EXPECT_STATUS(Status::kUnknownField, writer_.clearField(path_, key));
    EXPECT_STATUS(Status::kUnknownField, writer_.clearField(path_, key, {.safe = true}));
  }
  EXPECT_EQ(stateOf(path_), before_);
  EXPECT_EQ(children().size(), 0) << "a worker was started for nothing";
}

TEST_F(Refusal, OfValuesOfAnotherType) {
  const TrackValue values[] = {std::string("1"), std::int64_t{1}, 1.0, true};
  for (const field::Field& field : field::kAll) {
    for (const TrackValue& value : values) {
      if (value.index() == static_cast<std::size_t>(field.type)) continue;
      SCOPED_TRACE(std::string(field.key) + ", type " + std::to_string(value.index()));
      const Outcome outcome = writer_.setField(path_, field.key, value);
      EXPECT_STATUS(Status::kUnknownField, outcome);
      EXPECT_NE(outcome.detail, "");
    }
  }
  EXPECT_EQ(stateOf(path_), before_);
}

TEST_F(Refusal, OfFilesThatCannotBeEdited) {
  const std::string fifo = in(directory_, "fifo.mp3");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const std::string wav = in(directory_, "long.wav");
  makeSparse(wav, 0xffffffff);
  const UniqueFd readOnly = openFile(path_, O_RDONLY);
  const UniqueFd writeOnly = openFile(path_, O_WRONLY);
  const UniqueFd append = openFile(path_, O_RDWR | O_APPEND);
  for (const WriteOptions options : {WriteOptions{}, WriteOptions{.safe = true}}) {
    SCOPED_TRACE(options.safe ? "safe" : "in place");
    EXPECT_STATUS(Status::kNotFound, setTitle(in(directory_, "missing.mp3"), options));
    EXPECT_STATUS(Status::kNotRegularFile, setTitle(directory_.path().string(), options));
    EXPECT_STATUS(Status::kNotRegularFile, setTitle(fifo, options));
    EXPECT_STATUS(Status::kNotRegularFile, setTitle("/dev/null", options));
    EXPECT_STATUS(Status::kNotWritable, setTitle("/sys/kernel/uevent_seqnum", options));
    EXPECT_STATUS(Status::kNotWritable, setTitle({readOnly.get(), path_}, options));
    EXPECT_STATUS(Status::kNotWritable, setTitle({writeOnly.get(), path_}, options));
    EXPECT_STATUS(Status::kOpenedForAppend, setTitle({append.get(), path_}, options));
  }
  EXPECT_STATUS(Status::kFileTooLarge, setTitle(wav));
  EXPECT_EQ(stateOf(path_), before_);
  EXPECT_EQ(children().size(), 0) << "a worker was started for nothing";
}

TEST_F(Refusal, OfRequestsThatTheWireDoesNotTake) {
  const std::vector<std::byte> image(std::size_t{64} << 20);
  EXPECT_STATUS(Status::kRequestTooLarge,
                writer_.write(path_, Edit::setCover(image, ImageType::kPNG, true)));
  EXPECT_STATUS(Status::kRequestTooLarge,
                writer_.setField(path_, "lyrics", std::string(std::size_t{64} << 20, 'x')));
  EXPECT_EQ(stateOf(path_), before_);
  EXPECT_EQ(children().size(), 0) << "a worker was started for nothing";
}

TEST_F(Refusal, OfTextsThatWouldArriveAsOthers) {
  const std::string withZero("a\0b", 3);
  for (const std::string& text :
       {withZero, std::string("\0", 1), std::string("T\xe4"), std::string("\xed\xa0\x80")}) {
    EXPECT_STATUS(Status::kInvalidText, writer_.setField(path_, "title", text));
    EXPECT_STATUS(Status::kInvalidText, writer_.setField(path_, "title", text, {.safe = true}));
  }
  EXPECT_STATUS(Status::kNotFound, setTitle(path_ + std::string("\0.flac", 6)));
  const UniqueFd file = openFile(path_);
  EXPECT_STATUS(Status::kNotFound, setTitle({file.get(), path_ + std::string("\0.flac", 6)}));
  EXPECT_EQ(stateOf(path_), before_);
}

TEST_F(Refusal, OfADescriptorThatIsNone) {
  EXPECT_STATUS(Status::kNotFound, setTitle({-1, path_}));
  EXPECT_STATUS(Status::kNotFound, setTitle({987, path_}));
  EXPECT_FALSE(readField({-1, path_}, "title").has_value());
  EXPECT_EQ(stateOf(path_), before_);
}

TEST_F(Refusal, OfNoEditIsNone) {
  EXPECT_STATUS(Status::kWritten, writer_.write(path_, std::span<const Edit>(), {.safe = true}));
  EXPECT_EQ(stateOf(path_), before_);
}

TEST_F(Refusal, ByTheService) {
  const std::string noise = directory_.write("noise.flac", "no audio at all");
  EXPECT_STATUS(Status::kRefused, setTitle(noise));
  EXPECT_EQ(readFile(noise), "no audio at all");
  const std::string ac3 = directory_.copyOf("ac3.ac3");
  EXPECT_STATUS(Status::kRefused, writer_.setField(ac3, "composer", std::string("C")));
  EXPECT_TRUE(readFile(ac3) == readFile(dataFile("ac3.ac3")));
  // An MP3 takes no cue sheet.
  EXPECT_STATUS(Status::kRefused, writer_.setField(path_, "cueSheet", std::string("C")));
  EXPECT_TRUE(stateOf(path_).bytes == before_.bytes);
}

TEST(Outcome, IsTrueForOneStatusOnly) {
  for (int status = 0; status <= static_cast<int>(Status::kTimesNotKept); ++status) {
    EXPECT_EQ(static_cast<bool>(Outcome{static_cast<Status>(status)}), status == 0) << status;
  }
}

TEST(Outcome, HasASentenceForEachStatus) {
  std::set<std::string> sentences;
  for (int status = 0; status <= static_cast<int>(Status::kTimesNotKept); ++status) {
    const std::string sentence = Outcome{static_cast<Status>(status)}.message();
    EXPECT_GT(sentence.size(), 5) << status;
    EXPECT_TRUE(std::islower(static_cast<unsigned char>(sentence.front()))) << sentence;
    EXPECT_EQ(sentence.find_first_of("\n.:"), sentence.find(':')) << sentence;
    EXPECT_EQ(Outcome({static_cast<Status>(status), "why"}).message(), sentence + ": why");
    EXPECT_TRUE(sentences.insert(sentence).second) << sentence << " stands for two";
  }
  EXPECT_EQ(sentences.size(), 18);
}

}  // namespace
}  // namespace tagwriter::test

// One call, one or several edits: what is written, in which order, and where it stops.
#include "tests/client/client_test.h"
#include "tests/client/file_state.h"

namespace tagwriter::test {
namespace {

class Edits : public ClientTest {
 protected:
  std::string path_ = directory_.copyOf("flac_plain.flac");
};

Edit title(const std::string& text) {
  return Edit::setField("title", text);
}

TEST_F(Edits, HappenInTheirOrder) {
  const Edit edits[] = {title("One"), Edit::setField("artist", std::string("A")), title("Two"),
                        Edit::clearField("artist"), Edit::setDisc(1, 2)};
  const Outcome outcome = writer_.write(path_, edits);
  EXPECT_STATUS(Status::kWritten, outcome);
  EXPECT_EQ(titleOf(path_), "Two");
  EXPECT_FALSE(readField(path_, "artist").has_value());
  EXPECT_TRUE(readField(path_, "totalNumberOfDiscs") == TrackValue(std::int64_t{2}));
}

TEST_F(Edits, StopAtTheFirstThatFails) {
  const Edit edits[] = {title("One"), Edit::setField("composer", std::string("C")),
                        Edit::setField("titel", std::string("?")), title("Two")};
  const Outcome outcome = writer_.write(path_, edits);
  EXPECT_STATUS(Status::kUnknownField, outcome);
  EXPECT_EQ(outcome.edit, 2);
  EXPECT_EQ(titleOf(path_), "One");
  EXPECT_TRUE(readField(path_, "composer") == TrackValue(std::string("C")));
}

TEST_F(Edits, StopAtTheFirstThatTheServiceRefuses) {
  const std::string mp3 = directory_.copyOf("mp3_plain.mp3");
  const Edit edits[] = {title("One"), Edit::setField("cueSheet", std::string("no")), title("Two")};
  const Outcome outcome = writer_.write(mp3, edits);
  EXPECT_STATUS(Status::kRefused, outcome);
  EXPECT_EQ(outcome.edit, 1);
  EXPECT_EQ(titleOf(mp3), "One");
}

TEST_F(Edits, StopAtTheFirstThatIsTooLarge) {
  const std::vector<std::byte> image(std::size_t{64} << 20);
  const Edit edits[] = {title("One"), Edit::setCover(image, ImageType::kPNG, true), title("Two")};
  const Outcome outcome = writer_.write(path_, edits);
  EXPECT_STATUS(Status::kRequestTooLarge, outcome);
  EXPECT_EQ(outcome.edit, 1);
  EXPECT_EQ(titleOf(path_), "One");
}

TEST_F(Edits, CanBeNone) {
  const FileState before = stateOf(path_);
  EXPECT_STATUS(Status::kWritten, writer_.write(path_, std::span<const Edit>()));
  EXPECT_EQ(stateOf(path_), before);
  EXPECT_STATUS(Status::kNotFound,
                writer_.write(in(directory_, "missing.flac"), std::span<const Edit>()));
}

TEST_F(Edits, CanBeMadeInManyFiles) {
  const Edit edit = title("The same");
  for (const char* name : {"mp3_plain.mp3", "vorbis_plain.ogg", "wma_plain.wma"}) {
    const std::string path = directory_.copyOf(name);
    EXPECT_STATUS(Status::kWritten, writer_.write(path, edit));
    EXPECT_EQ(titleOf(path), "The same");
  }
}

TEST_F(Edits, TakeAPathThatIsNotUtf8) {
  const std::string path = directory_.copyOf("mp3_plain.mp3", "caf\xe9.mp3");
  EXPECT_STATUS(Status::kWritten, writer_.write(path, title("One")));
  EXPECT_EQ(titleOf(path), "One");
}

TEST_F(Edits, AreByTheNameOfTheCallersFile) {
  // The name decides the format: here an MP3 under a descriptor called FLAC.
  const std::string mp3 = directory_.copyOf("mp3_plain.mp3");
  const UniqueFd file = openFile(mp3);
  const Edit composer = Edit::setField("composer", std::string("C"));
  EXPECT_STATUS(Status::kRefused, writer_.write({file.get(), "song.flac"}, composer));
  EXPECT_STATUS(Status::kWritten, writer_.write({file.get(), "song.mp3"}, composer));
}

TEST_F(Edits, SetAndClearCovers) {
  const std::vector<std::byte> red = imageBytes("cover_red.png");
  const std::vector<std::byte> blue = imageBytes("cover_blue.jpg");
  const auto holds = [this](const std::vector<std::byte>& image) {
    const std::string bytes = readFile(path_);
    const std::string text(reinterpret_cast<const char*>(image.data()), image.size());
    return bytes.find(text) != std::string::npos;
  };
  EXPECT_STATUS(Status::kWritten,
                writer_.write(path_, Edit::setCover(red, detectImageType(red), false)));
  EXPECT_TRUE(holds(red));
  // One is there, and it is to be kept.
  EXPECT_STATUS(Status::kHasPicture,
                writer_.write(path_, Edit::setCover(blue, detectImageType(blue), false)));
  EXPECT_TRUE(holds(red) && !holds(blue));
  EXPECT_STATUS(Status::kWritten,
                writer_.write(path_, Edit::setCover(blue, detectImageType(blue), true)));
  EXPECT_TRUE(!holds(red) && holds(blue));
  EXPECT_STATUS(Status::kWritten, writer_.write(path_, Edit::clearCovers()));
  EXPECT_TRUE(!holds(red) && !holds(blue));
}

TEST_F(Edits, KeepAPictureThatIsNotToBeReplaced) {
  // Left to itself, the service replaces it in some formats and says true in others.
  const std::vector<std::byte> red = imageBytes("cover_red.png");
  for (const char* name :
       {"mp3_plain.mp3", "m4a_plain.m4a", "flac_plain.flac", "vorbis_plain.ogg", "flac.oga",
        "opus_plain.opus", "wma_plain.wma", "aiff_plain.aiff", "wav_plain.wav", "ape_plain.ape",
        "wavpack_plain.wv", "mpc_plain.mpc", "dsf_plain.dsf"}) {
    SCOPED_TRACE(name);
    const std::string path = directory_.copyOf(name, std::string("cover_") + name);
    const Edit cover = Edit::setCover(red, detectImageType(red), false);
    EXPECT_STATUS(Status::kWritten, writer_.write(path, cover));
    const std::string before = readFile(path);
    EXPECT_STATUS(Status::kHasPicture, writer_.write(path, cover));
    EXPECT_STATUS(Status::kHasPicture, writer_.write(path, cover, {.safe = true}));
    EXPECT_EQ(readFile(path), before);
  }
}

TEST(DetectImageType, GoesByTheFirstBytes) {
  EXPECT_EQ(detectImageType(imageBytes("cover_red.png")), ImageType::kPNG);
  EXPECT_EQ(detectImageType(imageBytes("cover_blue.jpg")), ImageType::kJPEG);
  EXPECT_EQ(detectImageType(imageBytes("cover.tiff")), ImageType::kTIFF);
  EXPECT_EQ(detectImageType(imageBytes("cover.gif")), ImageType::kGIF);
  EXPECT_EQ(detectImageType(imageBytes("cover.bmp")), ImageType::kBMP);
  EXPECT_EQ(detectImageType(imageBytes("mp3_plain.mp3")), ImageType::kOther);
  EXPECT_EQ(detectImageType({}), ImageType::kOther);
}

}  // namespace
}  // namespace tagwriter::test

// What happens to descriptors, the caller's, the library's and the worker's; and who truncates.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "tests/client/client_test.h"
#include "tests/client/file_state.h"
#include "tests/client/system_calls.h"
#include "tests/support/descriptors.h"

namespace tagwriter::test {
namespace {

class Descriptors : public ClientTest {
 protected:
  std::string path_ = directory_.copyOf("mp3_plain.mp3");
};

TEST_F(Descriptors, OfTheCallerStayOpenAndUsable) {
  const UniqueFd file = openFile(path_);
  std::filesystem::remove(path_);  // its name is not needed
  const AudioFile audio(file.get(), path_);
  const int flags = ::fcntl(file.get(), F_GETFL);
  EXPECT_STATUS(Status::kWritten, writer_.setField(audio, "title", std::string("One")));
  EXPECT_STATUS(Status::kFieldNotKept, writer_.setField(audio, "cueSheet", std::string("C")));
  EXPECT_STATUS(Status::kUnknownField, writer_.clearField(audio, "titel"));
  EXPECT_EQ(titleOf(audio), "One");
  EXPECT_EQ(::fcntl(file.get(), F_GETFL), flags);
  EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(Descriptors, AreNotLeaked) {
  const std::string noise = directory_.write("noise.flac", "no audio at all");
  const auto editsAndReads = [&](TagWriter& writer) {
    const UniqueFd file = openFile(path_);
    for (const WriteOptions& options : {WriteOptions{}, WriteOptions{.safe = true}}) {
      for (const char* key : {"title", "cueSheet", "titel"}) {
        (void)writer.setField(path_, key, std::string("T"), options);
      }
    }
    (void)writer.setField({file.get(), path_}, "title", std::string("T"));
    (void)writer.setField(noise, "title", std::string("T"));
    (void)writer.setField(in(directory_, "missing"), "title", std::string("T"));
    (void)readField({file.get(), path_}, "composer");
    (void)readField(noise, "title");
  };
  const std::size_t before = countDescriptors();
  {
    TagWriter writer(TAGWRITER_WORKER);
    editsAndReads(writer);
    const std::size_t connected = countDescriptors();
    for (int i = 0; i < 20; ++i) editsAndReads(writer);
    EXPECT_EQ(countDescriptors(), connected);
  }
  for (int i = 0; i < 10; ++i) {
    TagWriter writer(script("exits", "exit 1"));
    editsAndReads(writer);
  }
  EXPECT_EQ(countDescriptors(), before);
}

TEST_F(Descriptors, AreNotLeakedByTheWorker) {
  constexpr int kRounds = 50;
  EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "title", std::string("One")));
  const auto count = [directory = "/proc/" + std::to_string(*children().begin()) + "/fd"] {
    return namesIn(directory).size();
  };
  const std::size_t before = count();
  for (int i = 0; i < kRounds; ++i) {
    EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "title", std::to_string(i)));
    EXPECT_STATUS(Status::kFieldNotKept, writer_.setField(path_, "cueSheet", std::string("C")));
  }
  // Those of the last request may still be open.
  EXPECT_LT(count(), before + kRounds / 2);
}

TEST_F(Descriptors, AreTruncatedByTheLibraryOnly) {
  for (const char* name : {"ape_tagged.ape", "wavpack_tagged.wv", "mpc_tagged.mpc", "wav_plain.wav",
                           "mp3_plain.mp3", "opus_plain.opus", "wma_plain.wma"}) {
    SCOPED_TRACE(name);
    const std::string path = directory_.copyOf(name);
    for (const int error : {EPERM, 0}) {
      EXPECT_STATUS(Status::kWritten, writer_.setField(path, "title", std::string(20'000, 'x')));
      const auto size = std::filesystem::file_size(path);
      const Interception truncating(Call::kFtruncate, error);
      const Outcome outcome = writer_.clearField(path, "title");
      EXPECT_STATUS(error ? Status::kIncomplete : Status::kWritten, outcome);
      EXPECT_EQ(std::filesystem::file_size(path) < size, error == 0);
    }
  }
}

}  // namespace
}  // namespace tagwriter::test

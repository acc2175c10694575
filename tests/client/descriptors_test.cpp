// What happens to descriptors: the caller's, the library's and the worker's; and who shortens.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>

#include "tests/client/client_test.h"
#include "tests/client/file_state.h"
#include "tests/client/system_calls.h"
#include "tests/support/descriptors.h"

namespace tagwriter::test {
namespace {

const char* const kShrinking[] = {"ape_tagged.ape", "wavpack_tagged.wv", "mpc_tagged.mpc",
                                  "wav_plain.wav",  "mp3_plain.mp3",     "opus_plain.opus",
                                  "wma_plain.wma"};

class Descriptors : public ClientTest {
 protected:
  /// A copy with a title so long that it makes the file shorter when it goes.
  std::string withLongTitle(const std::string& name) {
    std::string path = directory_.copyOf(name);
    EXPECT_STATUS(Status::kWritten, writer_.setField(path, "title", std::string(20'000, 'x')));
    return path;
  }

  std::string path_ = directory_.copyOf("mp3_plain.mp3");
};

TEST_F(Descriptors, OfTheCallerStayOpenAndUsable) {
  const UniqueFd file = openFile(path_);
  const AudioFile audio(file.get(), path_);
  const int flags = ::fcntl(file.get(), F_GETFL);
  EXPECT_STATUS(Status::kWritten, writer_.setField(audio, "title", std::string("One")));
  EXPECT_STATUS(Status::kRefused, writer_.setField(audio, "cueSheet", std::string("C")));
  EXPECT_STATUS(Status::kUnknownField, writer_.clearField(audio, "titel"));
  EXPECT_EQ(titleOf(audio), "One");
  EXPECT_TRUE(isOpen(file.get()));
  EXPECT_EQ(::fcntl(file.get(), F_GETFL), flags);
  EXPECT_EQ(::fcntl(file.get(), F_GETFD), FD_CLOEXEC);
  std::string bytes(readFile(path_).size(), '\0');
  EXPECT_EQ(::pread(file.get(), bytes.data(), bytes.size(), 0), std::ssize(bytes));
  EXPECT_EQ(bytes, readFile(path_));
}

TEST_F(Descriptors, OfAFileWithoutANameCanBeEdited) {
  const UniqueFd file = openFile(path_);
  std::filesystem::remove(path_);
  const AudioFile audio(file.get(), path_);
  EXPECT_STATUS(Status::kWritten, writer_.setField(audio, "title", std::string("Gone")));
  EXPECT_EQ(titleOf(audio), "Gone");
  EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(Descriptors, DoNotPileUp) {
  const std::string noise = directory_.write("noise.flac", "no audio at all");
  const auto round = [&](TagWriter& writer) {
    const UniqueFd file = openFile(path_);
    (void)writer.setField(path_, "title", std::string("One"));
    (void)writer.setField({file.get(), path_}, "title", std::string("Two"));
    (void)writer.setField(path_, "title", std::string("Three"), {.safe = true});
    (void)writer.setField(path_, "cueSheet", std::string("refused"), {.safe = true});
    (void)writer.setField(path_, "titel", std::string("unknown"), {.safe = true});
    (void)writer.setField(noise, "title", std::string("refused"));
    (void)writer.setField(in(directory_, "missing"), "title", std::string("T"));
    (void)readField(path_, "title");
    (void)readField({file.get(), path_}, "composer");
    (void)readField(noise, "title");
  };
  const std::size_t before = countDescriptors();
  {
    TagWriter writer(TAGWRITER_WORKER);
    round(writer);
    const std::size_t connected = countDescriptors();
    for (int i = 0; i < 20; ++i) round(writer);
    EXPECT_EQ(countDescriptors(), connected);
  }
  EXPECT_EQ(countDescriptors(), before);
  for (int i = 0; i < 10; ++i) {
    TagWriter writer(script("ends at once", "exit 1"));
    round(writer);
  }
  EXPECT_EQ(countDescriptors(), before);
}

TEST_F(Descriptors, OfTheWorkerDoNotPileUp) {
  constexpr int kRounds = 50;
  EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "title", std::string("One")));
  ASSERT_EQ(children().size(), 1);
  const auto count = [worker = std::to_string(*children().begin())] {
    return namesIn("/proc/" + worker + "/fd").size();
  };
  const std::size_t before = count();
  for (int i = 0; i < kRounds; ++i) {
    EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "title", std::to_string(i)));
    EXPECT_STATUS(Status::kRefused, writer_.setField(path_, "cueSheet", std::string("C")));
  }
  // Those of the last request may still be on their way out.
  EXPECT_LT(count(), before + kRounds / 2);
}

TEST_F(Descriptors, OfThePlayerAreNotTheWorkers) {
  const UniqueFd file = openFile(path_);
  EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "title", std::string("One")));
  ASSERT_EQ(children().size(), 1);
  const std::string worker = "/proc/" + std::to_string(*children().begin()) + "/fd/";
  const auto holdsTheFile = [&] {
    const std::vector<std::string> open = namesIn(worker);
    return std::any_of(open.begin(), open.end(), [&](const std::string& fd) {
      std::error_code closedMeanwhile;
      return std::filesystem::read_symlink(worker + fd, closedMeanwhile) == path_;
    });
  };
  // That of the request is closed just after the answer; one that was inherited stays.
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (holdsTheFile() && std::chrono::steady_clock::now() < end) std::this_thread::yield();
  EXPECT_FALSE(holdsTheFile());
}

TEST_F(Descriptors, AreShortenedByThePlayer) {
  for (const char* name : kShrinking) {
    SCOPED_TRACE(name);
    const std::string path = withLongTitle(name);
    const auto before = std::filesystem::file_size(path);
    std::atomic<int> shortened = 0;
    const Interception counting(Call::kFtruncate, [&] {
      ++shortened;
      return 0;
    });
    EXPECT_STATUS(Status::kWritten, writer_.clearField(path, "title"));
    EXPECT_GT(shortened, 0) << "the player was not asked";
    EXPECT_LT(std::filesystem::file_size(path), before);
    EXPECT_FALSE(readField(path, "title").has_value());
  }
}

TEST_F(Descriptors, AreNotShortenedBehindThePlayersBack) {
  const std::string path = withLongTitle("ape_tagged.ape");
  const auto before = std::filesystem::file_size(path);
  const Interception refusing(Call::kFtruncate, [] { return EPERM; });
  EXPECT_STATUS(Status::kIncomplete, writer_.clearField(path, "title"));
  EXPECT_EQ(std::filesystem::file_size(path), before);
}

}  // namespace
}  // namespace tagwriter::test

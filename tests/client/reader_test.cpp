// The reader process: when it is started, what it is given, and what happens when it dies.
#include <fcntl.h>

#include <cstdlib>

#include "tests/client/client_test.h"
#include "tests/client/file_state.h"

namespace tagwriter::test {
namespace {

const WriteOptions kSafe = {.safe = true};
constexpr std::string_view kDamage = "crash, whatever else\1";

/// A reader that crashes at damaged files, next to the service.
class ReaderProcess : public ClientTest {
 protected:
  std::string link(const std::string& name, const char* program) const {
    std::filesystem::create_symlink(program, in(directory_, name));
    return in(directory_, name);
  }

  Outcome setCover(const AudioFile& file) {
    return writer_.write(file, Edit::setCover(cover_, ImageType::kPNG, false));
  }

  std::string damaged_ = directory_.write("damaged.mp3", std::string(kDamage));
  std::string path_ = directory_.copyOf("mp3_plain.mp3");
  std::vector<std::byte> cover_ = imageBytes("cover_red.png");
  TagReader reader_{link("tagreaderd", TAGWRITER_STAND_IN_READER)};
  TagWriter writer_{link("tagwriterd", TAGWRITER_WORKER)};
  TagWriter careless_{link("worker", TAGWRITER_STAND_IN)};  // leaves the damage as it is
};

TEST_F(ReaderProcess, IsStartedForWhatNeedsIt) {
  EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "title", std::string("T")));
  const Edit replacing = Edit::setCover(cover_, ImageType::kPNG, true);
  EXPECT_STATUS(Status::kWritten, writer_.write(path_, replacing));
  EXPECT_EQ(children().size(), 1) << "the service alone";
  EXPECT_STATUS(Status::kHasPicture, setCover(path_));
  const std::set<pid_t> both = children();
  EXPECT_EQ(both.size(), 2);
  EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "title", std::string("U"), kSafe));
  EXPECT_EQ(children(), both) << "the same processes";
}

TEST_F(ReaderProcess, GetsDescriptorsForReadingOnly) {
  // It crashes at others.
  const UniqueFd file = openFile(path_);
  EXPECT_STATUS(Status::kWritten, setCover({file.get(), path_}));
  EXPECT_STATUS(Status::kHasPicture, setCover({file.get(), path_}));
  EXPECT_STATUS(Status::kWritten,
                writer_.setField({file.get(), path_}, "title", std::string("T"), kSafe));
  std::filesystem::remove(path_);
  Outcome outcome;
  EXPECT_FALSE(reader_.readField({file.get(), path_}, "title", &outcome)) << "the old content";
  EXPECT_STATUS(Status::kWritten, outcome);
}

TEST_F(ReaderProcess, ThatDiesIsAnErrorAndIsReplaced) {
  ::setenv("DAMAGE", "none", 1);
  const FileState before = stateOf(damaged_);
  const std::vector<std::string> names = namesIn(directory_.path());
  for (int i = 0; i < 2; ++i) {
    Outcome outcome;
    EXPECT_FALSE(reader_.readField(damaged_, "title", &outcome));
    EXPECT_STATUS(Status::kUnreadable, outcome);
    EXPECT_NE(outcome.detail(), "");
    EXPECT_STATUS(Status::kUnreadable, setCover(damaged_));
    EXPECT_STATUS(Status::kCopyUnreadable,
                  careless_.setField(damaged_, "title", std::string("T"), kSafe));
    EXPECT_EQ(stateOf(damaged_), before);

    EXPECT_TRUE(reader_.readField(dataFile("mp3_id3v23.mp3"), "title", &outcome).has_value());
    EXPECT_STATUS(Status::kWritten, outcome);
  }
  ::unsetenv("DAMAGE");
  EXPECT_STATUS(Status::kWritten, setCover(path_));
  EXPECT_EQ(namesIn(directory_.path()), names);
}

TEST_F(ReaderProcess, ThatTakesNoFurtherRequestIsReplaced) {
  const std::string last = directory_.write("last.mp3", "leave");
  // It may or may not have exited when the next request is sent.
  for (int i = 0; i < 100; ++i) {
    Outcome outcome;
    EXPECT_FALSE(reader_.readField(last, "title", &outcome));
    EXPECT_STATUS(Status::kWritten, outcome);
  }
}

}  // namespace
}  // namespace tagwriter::test

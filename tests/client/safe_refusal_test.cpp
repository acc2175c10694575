// Safe mode, where it goes wrong: the file is what it was, inode and all, and nothing lies around.
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "tests/client/client_test.h"
#include "tests/client/file_state.h"
#include "tests/client/system_calls.h"

namespace tagwriter::test {
namespace {

namespace fs = std::filesystem;

/// STAND_IN for the life of the object.
class StandIn {
 public:
  explicit StandIn(const char* how) { ::setenv("STAND_IN", how, 1); }
  ~StandIn() { ::unsetenv("STAND_IN"); }
  StandIn(const StandIn&) = delete;
  StandIn& operator=(const StandIn&) = delete;
};

class SafeRefusal : public ClientTest {
 protected:
  static constexpr WriteOptions kSafe = {.safe = true};

  Outcome setTitle(TagWriter& writer, const AudioFile& file) {
    return writer.setField(file, "title", std::string("Title"), kSafe);
  }
  void expectUntouched() {
    EXPECT_EQ(stateOf(path_), before_);
    EXPECT_EQ(namesIn(directory_.path()), names_);
  }
  /// Whatever is in the directory now belongs there.
  /// What comes of an edit by somebody without privileges.
  Status statusWithoutPrivileges() {
    return static_cast<Status>(unprivileged(directory_, [this] {
      TagWriter writer(TAGWRITER_WORKER);
      return static_cast<int>(setTitle(writer, path_).status);
    }));
  }
  void settle() { names_ = namesIn(directory_.path()); }

  std::string path_ = directory_.copyOf("flac_plain.flac");
  FileState before_ = stateOf(path_);
  std::vector<std::string> names_ = namesIn(directory_.path());
};

TEST_F(SafeRefusal, OfOneEditIsOneOfAll) {
  const Edit edits[] = {Edit::setField("title", std::string("T")),
                        Edit::setField("artist", std::string("A")), Edit::clearField("titel")};
  const Outcome outcome = writer_.write(path_, edits, kSafe);
  EXPECT_STATUS(Status::kUnknownField, outcome);
  EXPECT_EQ(outcome.edit, 2);
  expectUntouched();
}

TEST_F(SafeRefusal, ByTheService) {
  const std::string mp3 = directory_.copyOf("mp3_plain.mp3");
  settle();
  const FileState before = stateOf(mp3);
  const Edit edits[] = {Edit::setField("title", std::string("T")),
                        Edit::setField("cueSheet", std::string("C"))};
  const Outcome outcome = writer_.write(mp3, edits, kSafe);
  EXPECT_STATUS(Status::kRefused, outcome);
  EXPECT_EQ(outcome.edit, 1);
  EXPECT_EQ(stateOf(mp3), before);
  expectUntouched();
}

TEST_F(SafeRefusal, BecauseTheCopyHasBecomeTooLarge) {
  const std::vector<std::byte> image(std::size_t{64} << 20);
  EXPECT_STATUS(Status::kRequestTooLarge,
                writer_.write(path_, Edit::setCover(image, ImageType::kPNG, true), kSafe));
  expectUntouched();
}

TEST_F(SafeRefusal, BecauseTheWorkerDies) {
  EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "title", std::string(50'000, 'x')));
  before_ = stateOf(path_);
  const pid_t worker = *children().begin();
  const Interception killing(Call::kFtruncate, [&] {
    killChild(worker);
    return 0;
  });
  EXPECT_STATUS(Status::kNoAnswer, writer_.clearField(path_, "title", kSafe));
  expectUntouched();
}

TEST_F(SafeRefusal, BecauseTheCopyDoesNotOpenAnyMore) {
  for (const char* how : {"cuts", "overwrites"}) {
    SCOPED_TRACE(how);
    const StandIn standIn(how);
    TagWriter writer(TAGWRITER_STAND_IN);
    EXPECT_STATUS(Status::kCopyUnreadable, setTitle(writer, path_));
    expectUntouched();
  }
  // It is not the stand-in that is refused.
  const StandIn standIn("nothing");
  TagWriter writer(TAGWRITER_STAND_IN);
  EXPECT_STATUS(Status::kWritten, setTitle(writer, path_));
}

TEST_F(SafeRefusal, BecauseThePathNamesAnotherFile) {
  const std::string other = directory_.copyOf("flac_comment.flac");
  settle();
  const FileState otherBefore = stateOf(other);
  const UniqueFd file = openFile(path_);
  EXPECT_STATUS(Status::kCopyFailed, setTitle(writer_, {file.get(), other}));
  EXPECT_STATUS(Status::kCopyFailed, setTitle(writer_, {file.get(), in(directory_, "missing")}));
  EXPECT_STATUS(Status::kCopyFailed, setTitle(writer_, {file.get(), ""}));
  EXPECT_EQ(stateOf(other), otherBefore);
  expectUntouched();
}

TEST_F(SafeRefusal, BecauseTheDirectoryTakesNoCopy) {
  fs::permissions(path_, fs::perms(0666));
  fs::permissions(directory_.path(), fs::perms(0555));
  before_ = stateOf(path_);
  EXPECT_EQ(statusWithoutPrivileges(), Status::kCopyFailed);
  expectUntouched();
  fs::permissions(directory_.path(), fs::perms(0700));
}

TEST_F(SafeRefusal, BecauseTheOwnerCannotBeKept) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can make a file of somebody else";
  fs::permissions(path_, fs::perms(0666));
  fs::permissions(directory_.path(), fs::perms(0777));
  before_ = stateOf(path_);
  EXPECT_EQ(statusWithoutPrivileges(), Status::kCopyFailed);
  expectUntouched();
}

/// A change that somebody else makes to the file while the copy is edited, as shell text.
class SafeRace : public SafeRefusal,
                 public testing::WithParamInterface<std::pair<const char*, const char*>> {};

TEST_P(SafeRace, IsNotWon) {
  const std::string program = script("meddler", "cd " + directory_.path().string() + "\n" +
                                                    GetParam().second + "\nexec $WORKER \"$@\"\n");
  // Old enough for any change to show.
  setTimes(path_, {1'000'000'000, 0}, {1'000'000'000, 0});
  waitForLaterTime(path_);
  TagWriter writer(program);
  const Outcome outcome = setTitle(writer, path_);
  EXPECT_STATUS(Status::kReplaceFailed, outcome);
  EXPECT_NE(outcome.detail, "");
  for (const std::string& name : namesIn(directory_.path())) {
    EXPECT_NE(name.front(), '.') << name;
  }
  if (fs::exists(path_)) {
    EXPECT_EQ(titleOf(path_), "-");
  }
}

INSTANTIATE_TEST_SUITE_P(
    Against, SafeRace,
    testing::Values(std::pair("Append", "printf x >> flac_plain.flac"),
                    std::pair("Overwrite",
                              "printf x | dd of=flac_plain.flac bs=1 conv=notrunc 2>&-"),
                    std::pair("OverwriteInSecret",
                              "printf x | dd of=flac_plain.flac bs=1 conv=notrunc 2>&-; "
                              "touch -d @1000000000 flac_plain.flac"),
                    std::pair("Mode", "chmod 640 flac_plain.flac"),
                    std::pair("Touch", "touch flac_plain.flac"),
                    std::pair("Replace", "cp -p flac_plain.flac new; mv new flac_plain.flac"),
                    std::pair("Remove", "rm flac_plain.flac"),
                    std::pair("Move", "mv flac_plain.flac moved.flac")),
    [](const auto& info) { return std::string(info.param.first); });

TEST_F(SafeRefusal, BecauseTheFileChangesAtTheLastMoment) {
  // While the copy is on its way to the disk, which can take seconds.
  const Interception meddling(Call::kFsync, [this] {
    directory_.write("flac_plain.flac", "somebody else's work");
    return 0;
  });
  EXPECT_STATUS(Status::kReplaceFailed, setTitle(writer_, path_));
  EXPECT_EQ(readFile(path_), "somebody else's work");
  EXPECT_EQ(namesIn(directory_.path()), names_);
}

}  // namespace
}  // namespace tagwriter::test

// The copy of safe mode on its way into the original's place: there, or gone.
#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <fstream>
#include <functional>

#include "tests/client/safe_copy_test.h"
#include "tests/support/descriptors.h"

namespace tagwriter::test {
namespace {

/// The longest name in an encrypted directory, in bytes.
constexpr std::size_t kShortestLimit = 143;

TEST_F(SafeCopyTest, IsGivenAgainWhatTheSystemTookAway) {
  ASSERT_EQ(::chmod(path_.c_str(), 04755), 0);
  before_ = stateOf(path_);
  SafeCopy copy;
  ASSERT_STATUS(Status::kWritten, copy.make(file_.get(), path_));
  loseAttributes(copy);
  const CallRecord record;
  ASSERT_STATUS(Status::kWritten, copy.replaceOriginal(file_.get()));
  const Names calls = record.calls();
  const FileState after = stateOf(path_);
  EXPECT_NE(after.inode, before_.inode);
  EXPECT_EQ(after.mode, before_.mode);
  EXPECT_EQ(after.attributes, before_.attributes);
  // On the disk with the content.
  Names expected = {"fchmod", "fsync", "linkat", "rename", "fsync"};
  if (!before_.attributes.empty()) expected.insert(expected.begin(), "fsetxattr");
  EXPECT_EQ(calls, expected);
}

TEST_F(SafeCopyTest, DoesNotTakeThePlaceWhenSomethingCannotBeKept) {
  ASSERT_EQ(::chmod(path_.c_str(), 04755), 0);
  before_ = stateOf(path_);
  const std::size_t descriptors = countDescriptors();
  for (const bool named : {false, true}) {
    for (const Call call : {Call::kFchmod, Call::kFsetxattr}) {
      SCOPED_TRACE(static_cast<int>(call));
      if (call == Call::kFsetxattr && before_.attributes.empty()) GTEST_SKIP() << "no attributes";
      const Failing unnamed(Call::kOpenUnnamed, named ? EOPNOTSUPP : 0);
      SafeCopy copy;
      ASSERT_STATUS(Status::kWritten, copy.make(file_.get(), path_));
      loseAttributes(copy);
      const Failing failing(call, EPERM);
      const Outcome outcome = copy.replaceOriginal(file_.get());
      EXPECT_STATUS(Status::kReplaceFailed, outcome);
      EXPECT_NE(outcome.detail.find("Operation not permitted"), std::string::npos)
          << outcome.detail;
    }
    expectAlone();
  }
  EXPECT_EQ(stateOf(path_), before_);
  EXPECT_EQ(countDescriptors(), descriptors);
}

TEST_F(SafeCopyTest, TakesTheOriginalsPlace) {
  SafeCopy copy;
  ASSERT_STATUS(Status::kWritten, copy.make(file_.get(), path_));
  ASSERT_EQ(::pwrite(copy.fd(), "edited", 6, 0), 6);
  ASSERT_STATUS(Status::kWritten, copy.replaceOriginal(file_.get()));
  EXPECT_EQ(bytesOf(path_).substr(0, 6), "edited");
  expectAlone();
}

TEST_F(SafeCopyTest, IsFlushedAgainAfterASignal) {
  SafeCopy copy;
  ASSERT_STATUS(Status::kWritten, copy.make(file_.get(), path_));
  int calls = 0;
  const Interception interrupting(Call::kFsync, [&] { return ++calls == 1 ? EINTR : 0; });
  const CallRecord record;
  EXPECT_STATUS(Status::kWritten, copy.replaceOriginal(file_.get()));
  EXPECT_EQ(record.calls(), (Names{"fsync", "fsync", "linkat", "rename", "fsync"}));
}

TEST_F(SafeCopyTest, DoesNotTakeItWhenTheSystemRefuses) {
  before_ = stateOf(path_);
  const std::size_t descriptors = countDescriptors();
  const std::pair<Call, int> failures[] = {
      {Call::kFsync, EIO}, {Call::kLinkat, ENOENT}, {Call::kRename, EACCES}};
  for (const auto& [call, error] : failures) {
    SCOPED_TRACE(static_cast<int>(call));
    const Failing failing(call, error);
    {
      SafeCopy copy;
      ASSERT_STATUS(Status::kWritten, copy.make(file_.get(), path_));
      const Outcome outcome = copy.replaceOriginal(file_.get());
      EXPECT_STATUS(Status::kReplaceFailed, outcome);
      EXPECT_NE(outcome.detail, "");
    }
    expectAlone();
    EXPECT_EQ(stateOf(path_), before_);
    EXPECT_EQ(countDescriptors(), descriptors);
  }
}

TEST_F(SafeCopyTest, DoesNotTakeItFromAnotherVersion) {
  constexpr timespec kThen = {1'000'000'000, 5};
  setTimes(path_, kThen, kThen);
  const char* path = path_.c_str();
  const std::pair<const char*, std::function<bool()>> changes[] = {
      {"appended to",
       [&] { return std::ofstream(path_, std::ios::app) << 'x' << std::flush, true; }},
      {"cut", [&] { return ::truncate(path, std::ssize(content()) - 1) == 0; }},
      {"written to, its size and time kept",
       [&] {
         const bool written = ::pwrite(file_.get(), "other", 5, 0) == 5;
         setTimes(path_, kThen, kThen);
         return written;
       }},
      {"touched", [&] { return ::utimensat(AT_FDCWD, path, nullptr, 0) == 0; }},
      {"of another mode", [&] { return ::chmod(path, 0640) == 0; }},
      {"of another owner", [&] { return ::chown(path, owner(), owner()) == 0; }},
      {"of another attribute",
       [&] { return before_.attributes.empty() || setAttribute(path_, "user.tagwriter", "new"); }},
  };
  for (const auto& [what, change] : changes) {
    SCOPED_TRACE(what);
    {
      SafeCopy copy;
      ASSERT_STATUS(Status::kWritten, copy.make(file_.get(), path_));
      waitForLaterTime(path_);
      ASSERT_TRUE(change());
      before_ = stateOf(path_);
      EXPECT_STATUS(Status::kReplaceFailed, copy.replaceOriginal(file_.get()));
    }
    EXPECT_EQ(stateOf(path_), before_);
    expectAlone();
    setTimes(path_, kThen, kThen);
  }
  SafeCopy copy;
  ASSERT_STATUS(Status::kWritten, copy.make(file_.get(), path_));
  waitForLaterTime(path_);
  EXPECT_STATUS(Status::kWritten, copy.replaceOriginal(file_.get()));
}

TEST_F(SafeCopyTest, StaysInItsDirectory) {
  // Somebody puts a link where the directory was, to a directory of others that has such a file,
  // too.
  const TemporaryDirectory others;
  const std::string othersFile = others.write("file.mp3", "not yours");
  const std::filesystem::path music = directory_.path() / "music";
  const std::filesystem::path moved = directory_.path() / "moved";
  std::filesystem::create_directory(music);
  for (const bool named : {false, true}) {
    SCOPED_TRACE(named);
    std::filesystem::copy_file(path_, music / "file.mp3");
    const UniqueFd file = openFile(music / "file.mp3");
    const Failing unnamed(Call::kOpenUnnamed, named ? EOPNOTSUPP : 0);
    const Interception meddling(named ? Call::kRename : Call::kLinkat, [&] {
      std::filesystem::rename(music, moved);
      std::filesystem::create_directory_symlink(others.path(), music);
      return 0;
    });
    {
      SafeCopy copy;
      ASSERT_STATUS(Status::kWritten, copy.make(file.get(), music / "file.mp3"));
      ASSERT_EQ(::pwrite(copy.fd(), "edited", 6, 0), 6);
      EXPECT_STATUS(Status::kWritten, copy.replaceOriginal(file.get()));
    }
    EXPECT_TRUE(readFile(othersFile) == "not yours");
    EXPECT_EQ(namesIn(others.path()), Names{"file.mp3"});
    EXPECT_EQ(bytesOf(moved / "file.mp3").substr(0, 6), "edited");
    EXPECT_EQ(namesIn(moved), Names{"file.mp3"});
    std::filesystem::remove(music);
    std::filesystem::rename(moved, music);
    std::filesystem::remove(music / "file.mp3");
  }
}

TEST_F(SafeCopyTest, VanishesFromItsDirectoryWhereverThatIs) {
  const std::filesystem::path music = directory_.path() / "music";
  std::filesystem::create_directory(music);
  std::filesystem::rename(path_, music / "file.mp3");
  const Failing unnamed(Call::kOpenUnnamed, EOPNOTSUPP);
  {
    SafeCopy copy;
    ASSERT_STATUS(Status::kWritten, copy.make(file_.get(), music / "file.mp3"));
    ASSERT_EQ(namesIn(music).size(), 2);
    std::filesystem::rename(music, directory_.path() / "moved");
  }
  EXPECT_EQ(namesIn(directory_.path() / "moved"), Names{"file.mp3"});
}

TEST_F(SafeCopyTest, HasANameOfWholeCharacters) {
  const Failing unnamed(Call::kOpenUnnamed, EOPNOTSUPP);
  for (const std::string& start : Names{"", "x", "xx"}) {
    std::string name = start;
    while (name.size() + 3 <= NAME_MAX) name += "夜";
    const std::string path = directory_.write(name, "content");
    SafeCopy copy;
    ASSERT_STATUS(Status::kWritten, copy.make(openFile(path).get(), path));
    const std::string hidden = namesIn(directory_.path()).front();
    const std::string kept = hidden.substr(1, hidden.rfind(".tagwriter-") - 1);
    EXPECT_EQ((kept.size() - start.size()) % 3, 0) << hidden;
    EXPECT_EQ(name.rfind(kept, 0), 0) << hidden;
    EXPECT_LE(hidden.size(), kShortestLimit) << "too long for some file systems";
  }
}

TEST_F(SafeCopyTest, WithANameVanishesWithItsObject) {
  const Failing unnamed(Call::kOpenUnnamed, EOPNOTSUPP);
  {
    SafeCopy copy;
    ASSERT_STATUS(Status::kWritten, copy.make(file_.get(), path_));
    const Names names = namesIn(directory_.path());
    ASSERT_EQ(names.size(), 2);
    EXPECT_EQ(names.front().rfind(".file.mp3.tagwriter-", 0), 0) << names.front();
    EXPECT_TRUE(contentOf(copy) == content());
  }
  expectAlone();
}

}  // namespace
}  // namespace tagwriter::test

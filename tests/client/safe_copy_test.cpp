// The copy of safe mode: complete or not made, in place or gone, whatever the system refuses.
#include "client/safe_copy.h"

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <fstream>
#include <functional>

#include "tests/client/client_test.h"
#include "tests/client/file_state.h"
#include "tests/client/system_calls.h"
#include "tests/support/descriptors.h"

namespace tagwriter::test {
namespace {

using Names = std::vector<std::string>;
constexpr uid_t kSomebody = 12345;
/// The longest name in an encrypted folder, in bytes.
constexpr std::size_t kShortestLimit = 143;

/// A call that fails with this error for the life of the object.
class Failing : public Interception {
 public:
  Failing(Call call, int error) : Interception(call, [error] { return error; }) {}
};

/// The standard streams are closed for the life of the object.
class NoStandardStreams {
 public:
  NoStandardStreams() {
    for (int fd = 0; fd < 3; ++fd) {
      kept_[fd] = duplicateFd(fd);
      ::close(fd);
    }
  }
  ~NoStandardStreams() {
    for (int fd = 0; fd < 3; ++fd) {
      ::close(fd);
      if (kept_[fd]) ::dup2(kept_[fd].get(), fd);
    }
  }
  NoStandardStreams(const NoStandardStreams&) = delete;
  NoStandardStreams& operator=(const NoStandardStreams&) = delete;

 private:
  UniqueFd kept_[3];
};

class SafeCopyTest : public testing::Test {
 protected:
  SafeCopyTest() {
    (void)setAttribute(path_, "user.tagwriter", "kept");
    before_ = stateOf(path_);
  }

  std::string contentOf(const SafeCopy& copy) {
    return bytesOf("/proc/self/fd/" + std::to_string(copy.fd()));
  }
  /// What the system may do to the copy when it is written to.
  void loseAttributes(const SafeCopy& copy) {
    ASSERT_EQ(::fchmod(copy.fd(), 0755), 0);
    if (before_.attributes.empty()) return;
    ASSERT_EQ(::fremovexattr(copy.fd(), "user.tagwriter"), 0);
  }
  void expectAlone() { EXPECT_EQ(namesIn(folder_.path()), Names{"file.mp3"}); }

  /// Somebody else where that is possible.
  static uid_t owner() { return ::geteuid() == 0 ? kSomebody : ::geteuid(); }

  static const std::string& content() {
    static const std::string content = [] {
      std::string numbers;
      for (int i = 0; numbers.size() < 2'500'000; ++i) numbers += std::to_string(i);
      return numbers;
    }();
    return content;
  }

  TemporaryFolder folder_;
  std::string path_ = folder_.write("file.mp3", content());
  UniqueFd file_ = openFile(path_);
  FileState before_;
};

TEST_F(SafeCopyTest, HasNoNameAndTheSameContent) {
  before_ = stateOf(path_);
  SafeCopy copy;
  ASSERT_STATUS(Status::kWritten, copy.make(file_.get(), path_));
  expectAlone();
  EXPECT_TRUE(contentOf(copy) == content());
  EXPECT_EQ(stateOf(path_), before_);
  EXPECT_EQ(::pwrite(copy.fd(), "x", 1, 0), 1);
  EXPECT_TRUE(bytesOf(path_) == content()) << "the copy is the file";
}

TEST_F(SafeCopyTest, IsCompleteWhereverTheOffsetStands) {
  ASSERT_EQ(::lseek(file_.get(), 1'000'000, SEEK_SET), 1'000'000);
  SafeCopy copy;
  ASSERT_STATUS(Status::kWritten, copy.make(file_.get(), path_));
  EXPECT_TRUE(contentOf(copy) == content());
}

TEST_F(SafeCopyTest, IsCompleteWhereTheKernelDoesNotCopy) {
  const Failing cloning(Call::kClone, EOPNOTSUPP);
  for (const int possible : {0, 1, 2}) {
    SCOPED_TRACE(possible);
    int calls = 0;
    const Interception failing(Call::kCopyFileRange,
                               [&] { return calls++ < possible ? 0 : EXDEV; });
    SafeCopy copy;
    ASSERT_STATUS(Status::kWritten, copy.make(file_.get(), path_));
    EXPECT_TRUE(contentOf(copy) == content());
  }
}

TEST_F(SafeCopyTest, IsCompleteWhoeverMovesTheOffset) {
  const Failing cloning(Call::kClone, EOPNOTSUPP);
  // Whoever has the caller's descriptor from it reads with the same offset.
  const auto moving = [this] {
    EXPECT_EQ(::lseek(file_.get(), 77, SEEK_SET), 77);
    return 0;
  };
  for (const int error : {0, EXDEV}) {
    const Interception copying(Call::kCopyFileRange, [&] { return error ? error : moving(); });
    const Interception reading(Call::kRead, moving);
    SafeCopy copy;
    ASSERT_STATUS(Status::kWritten, copy.make(file_.get(), path_));
    EXPECT_TRUE(contentOf(copy) == content()) << error;
  }
}

TEST_F(SafeCopyTest, IsCompleteWhenTheSystemDoesLessAtOnce) {
  const Failing cloning(Call::kClone, EOPNOTSUPP);
  const ShortCalls few(400'000);
  for (const int error : {0, EXDEV}) {
    const Failing copying(Call::kCopyFileRange, error);
    const CallRecord record;
    SafeCopy copy;
    ASSERT_STATUS(Status::kWritten, copy.make(file_.get(), path_));
    EXPECT_TRUE(contentOf(copy) == content()) << error;
    EXPECT_GT(record.calls().size(), content().size() / 400'000);
  }
}

TEST_F(SafeCopyTest, IsCompleteWhenSignalsInterrupt) {
  const Failing cloning(Call::kClone, EOPNOTSUPP);
  int calls = 0;
  const auto interrupted = [&] { return ++calls % 2 ? EINTR : 0; };
  const auto expectComplete = [&] {
    SafeCopy copy;
    ASSERT_STATUS(Status::kWritten, copy.make(file_.get(), path_));
    EXPECT_TRUE(contentOf(copy) == content());
    EXPECT_GE(calls, 4);
    calls = 0;
  };
  {
    const Interception copying(Call::kCopyFileRange, interrupted);
    const Failing reading(Call::kRead, EIO);  // an interruption is no reason to copy by hand
    expectComplete();
  }
  const Failing copying(Call::kCopyFileRange, EXDEV);
  for (const Call call : {Call::kRead, Call::kWrite}) {
    SCOPED_TRACE(static_cast<int>(call));
    const Interception interrupting(call, interrupted);
    expectComplete();
  }
}

TEST_F(SafeCopyTest, IsNotMadeWhenItsContentCannotBeCopied) {
  const Failing cloning(Call::kClone, EOPNOTSUPP);
  for (const Call call : {Call::kRead, Call::kWrite}) {
    SCOPED_TRACE(static_cast<int>(call));
    const Failing copying(Call::kCopyFileRange, EXDEV);
    const Failing failing(call, EIO);
    SafeCopy copy;
    const Outcome outcome = copy.make(file_.get(), path_);
    EXPECT_STATUS(Status::kCopyFailed, outcome);
    EXPECT_NE(outcome.detail.find("Input/output error"), std::string::npos) << outcome.detail;
  }
}

TEST_F(SafeCopyTest, IsNotMadeOfAFileThatShrinksMeanwhile) {
  constexpr std::uintmax_t kShrunk = 1'500'000;
  for (const Call during : {Call::kClone, Call::kCopyFileRange, Call::kRead}) {
    SCOPED_TRACE(static_cast<int>(during));
    std::filesystem::resize_file(path_, content().size());
    // Before the clone, or after the first part of a copy.
    int calls = during == Call::kClone ? 1 : 0;
    const auto shrinking = [&](Call call, int otherwise) {
      if (call != during) return otherwise;
      if (++calls == 2) std::filesystem::resize_file(path_, kShrunk);
      return 0;
    };
    const Interception cloning(Call::kClone, [&] { return shrinking(Call::kClone, EOPNOTSUPP); });
    const Interception copying(Call::kCopyFileRange,
                               [&] { return shrinking(Call::kCopyFileRange, EXDEV); });
    const Interception reading(Call::kRead, [&] { return shrinking(Call::kRead, 0); });
    SafeCopy copy;
    EXPECT_STATUS(Status::kCopyFailed, copy.make(file_.get(), path_));
    EXPECT_EQ(std::filesystem::file_size(path_), kShrunk) << "it did not shrink";
  }
}

TEST_F(SafeCopyTest, IsNoStandardStream) {
  // What the player prints there would go into the music.
  for (const bool named : {false, true}) {
    const Failing unnamed(Call::kOpenUnnamed, named ? EOPNOTSUPP : 0);
    SafeCopy copy;
    Outcome outcome;
    {
      const NoStandardStreams closed;
      outcome = copy.make(file_.get(), path_);
    }
    ASSERT_STATUS(Status::kWritten, outcome);
    EXPECT_GT(copy.fd(), STDERR_FILENO) << named;
    EXPECT_TRUE(contentOf(copy) == content());
  }
}

TEST_F(SafeCopyTest, IsNotMadeOfAPathWithAZeroByte) {
  SafeCopy copy;
  EXPECT_STATUS(Status::kCopyFailed, copy.make(file_.get(), path_ + std::string("\0.mp3", 5)));
}

TEST_F(SafeCopyTest, OfAnEmptyFile) {
  const std::string empty = folder_.write("empty", "");
  SafeCopy copy;
  ASSERT_STATUS(Status::kWritten, copy.make(openFile(empty).get(), empty));
  EXPECT_EQ(contentOf(copy), "");
}

TEST_F(SafeCopyTest, IsNotMadeWhenSomethingCannotBeKept) {
  const bool isRoot = ::geteuid() == 0;
  if (isRoot) {
    ASSERT_EQ(::chown(path_.c_str(), kSomebody, kSomebody), 0);
  }
  before_ = stateOf(path_);
  const std::size_t descriptors = countDescriptors();
  for (const bool named : {false, true}) {
    for (const Call call : {Call::kFchown, Call::kFchmod, Call::kFsetxattr}) {
      SCOPED_TRACE(static_cast<int>(call));
      if (call == Call::kFchown && !isRoot) continue;  // the copy's owner is right at once
      if (call == Call::kFsetxattr && before_.attributes.empty()) GTEST_SKIP() << "no attributes";
      const Failing unnamed(Call::kOpenUnnamed, named ? EOPNOTSUPP : 0);
      const Failing failing(call, EPERM);
      SafeCopy copy;
      const Outcome outcome = copy.make(file_.get(), path_);
      EXPECT_STATUS(Status::kCopyFailed, outcome);
      EXPECT_NE(outcome.detail.find("Operation not permitted"), std::string::npos)
          << outcome.detail;
    }
    expectAlone();
  }
  EXPECT_EQ(stateOf(path_), before_);
  EXPECT_EQ(countDescriptors(), descriptors);
}

TEST_F(SafeCopyTest, SetsNothingThatIsSoAnyway) {
  // Not every file system lets an owner or a mode be set, even to what it is.
  ASSERT_EQ(::chmod(path_.c_str(), 0600), 0);
  const Failing owner(Call::kFchown, EPERM);
  const Failing mode(Call::kFchmod, EPERM);
  SafeCopy copy;
  ASSERT_STATUS(Status::kWritten, copy.make(file_.get(), path_));
  const Failing attribute(Call::kFsetxattr, EPERM);
  EXPECT_STATUS(Status::kWritten, copy.replaceOriginal(file_.get()));
}

TEST_F(SafeCopyTest, IsMadeWhereAnAttributeGoesWithAnother) {
  // Some file systems show an inherited access list under two names, and remove both at once.
  if (before_.attributes.empty()) GTEST_SKIP() << "no extended attributes here";
  SafeCopy copy;
  const auto pathOfCopy = [&] { return "/proc/self/fd/" + std::to_string(copy.fd()); };
  const Interception inheriting(Call::kClone, [&] {
    EXPECT_TRUE(setAttribute(pathOfCopy(), "user.inherited", "1"));
    return 0;
  });
  int gone = 0;
  const Interception going(Call::kFremovexattr, [&] {
    if (::removexattr(pathOfCopy().c_str(), "user.inherited") == 0) ++gone;
    return 0;
  });
  ASSERT_STATUS(Status::kWritten, copy.make(file_.get(), path_));
  EXPECT_EQ(gone, 1);
  ASSERT_STATUS(Status::kWritten, copy.replaceOriginal(file_.get()));
  EXPECT_EQ(stateOf(path_).attributes, before_.attributes);
}

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

TEST_F(SafeCopyTest, IsNotMadeWhereNoFileCanBeMade) {
  const Failing unnamed(Call::kOpenUnnamed, EOPNOTSUPP);
  const Failing made(Call::kOpenNew, EROFS);
  SafeCopy copy;
  EXPECT_STATUS(Status::kCopyFailed, copy.make(file_.get(), path_));
  expectAlone();
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

TEST_F(SafeCopyTest, StaysInItsFolder) {
  // Somebody puts a link where the folder was, to a folder of others that has such a file, too.
  const TemporaryFolder others;
  const std::string othersFile = others.write("file.mp3", "not yours");
  const std::filesystem::path music = folder_.path() / "music";
  const std::filesystem::path moved = folder_.path() / "moved";
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

TEST_F(SafeCopyTest, VanishesFromItsFolderWhereverThatIs) {
  const std::filesystem::path music = folder_.path() / "music";
  std::filesystem::create_directory(music);
  std::filesystem::rename(path_, music / "file.mp3");
  const Failing unnamed(Call::kOpenUnnamed, EOPNOTSUPP);
  {
    SafeCopy copy;
    ASSERT_STATUS(Status::kWritten, copy.make(file_.get(), music / "file.mp3"));
    ASSERT_EQ(namesIn(music).size(), 2);
    std::filesystem::rename(music, folder_.path() / "moved");
  }
  EXPECT_EQ(namesIn(folder_.path() / "moved"), Names{"file.mp3"});
}

TEST_F(SafeCopyTest, HasANameOfWholeCharacters) {
  const Failing unnamed(Call::kOpenUnnamed, EOPNOTSUPP);
  for (const std::string& start : Names{"", "x", "xx"}) {
    std::string name = start;
    while (name.size() + 3 <= NAME_MAX) name += "夜";
    const std::string path = folder_.write(name, "content");
    SafeCopy copy;
    ASSERT_STATUS(Status::kWritten, copy.make(openFile(path).get(), path));
    const std::string hidden = namesIn(folder_.path()).front();
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
    const Names names = namesIn(folder_.path());
    ASSERT_EQ(names.size(), 2);
    EXPECT_EQ(names.front().rfind(".file.mp3.tagwriter-", 0), 0) << names.front();
    EXPECT_TRUE(contentOf(copy) == content());
  }
  expectAlone();
}

TEST_F(SafeCopyTest, IsNobodyElsesBeforeItHasItsMode) {
  // Whoever may not read the file must not be able to read its copy, whom the folder lets in or
  // not.
  if (::geteuid() == 0) {
    ASSERT_EQ(::chown(path_.c_str(), kSomebody, kSomebody), 0);
  }
  ASSERT_EQ(::chmod(path_.c_str(), 0644), 0);
  const bool hasList = setAttribute(folder_.path(), kDefaultAccessList, accessListFor(kSomebody));
  for (const bool named : {false, true}) {
    SCOPED_TRACE(named);
    const Failing unnamed(Call::kOpenUnnamed, named ? EOPNOTSUPP : 0);
    const mode_t mask = ::umask(0);
    std::vector<mode_t> seen;
    const auto looking = [&] {
      for (int fd = 3; fd < 256; ++fd) {
        struct stat status {};
        const bool isCopy = ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) &&
                            status.st_ino != before_.inode &&
                            status.st_size == std::ssize(before_.bytes);
        if (isCopy) seen.push_back(status.st_mode & 07777);
      }
      return 0;
    };
    const Interception owner(Call::kFchown, looking);
    const Interception listed(Call::kFremovexattr, looking);
    const Interception attribute(Call::kFsetxattr, looking);
    const Interception mode(Call::kFchmod, looking);
    SafeCopy copy;
    const Outcome outcome = copy.make(file_.get(), path_);
    ::umask(mask);
    ASSERT_STATUS(Status::kWritten, outcome);
    const auto calls = 1 + (::geteuid() == 0) + !before_.attributes.empty() + hasList;
    EXPECT_GE(std::ssize(seen), calls);
    for (const mode_t mode : seen) EXPECT_EQ(mode, 0600);
  }
}

}  // namespace
}  // namespace tagwriter::test

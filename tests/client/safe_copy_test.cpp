// The copy of safe mode: complete or not made, whatever the system refuses.
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include "tests/client/safe_copy_test.h"
#include "tests/support/descriptors.h"

namespace tagwriter::test {
namespace {

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
  const std::string empty = directory_.write("empty", "");
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

TEST_F(SafeCopyTest, IsNotMadeWhereNoFileCanBeMade) {
  const Failing unnamed(Call::kOpenUnnamed, EOPNOTSUPP);
  const Failing made(Call::kOpenNew, EROFS);
  SafeCopy copy;
  EXPECT_STATUS(Status::kCopyFailed, copy.make(file_.get(), path_));
  expectAlone();
}

TEST_F(SafeCopyTest, IsNobodyElsesBeforeItHasItsMode) {
  // Whoever may not read the file must not be able to read its copy, whom the directory lets in or
  // not.
  if (::geteuid() == 0) {
    ASSERT_EQ(::chown(path_.c_str(), kSomebody, kSomebody), 0);
  }
  ASSERT_EQ(::chmod(path_.c_str(), 0644), 0);
  const bool hasList =
      setAttribute(directory_.path(), kDefaultAccessList, accessListFor(kSomebody));
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

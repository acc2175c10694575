// SafeCopy: the copy is complete or not made, and it replaces the original or disappears.
#include "client/safe_copy.h"

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <fstream>

#include "tests/client/client_test.h"
#include "tests/client/file_state.h"
#include "tests/client/system_calls.h"
#include "tests/support/descriptors.h"

namespace tagwriter::test {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

constexpr uid_t kSomebody = 12345;

/// Each test runs where the file system supports unnamed files, and where it does not.
class SafeCopyTest : public testing::TestWithParam<bool> {
 protected:
  SafeCopyTest() {
    hasAttributes_ = setAttribute(path_, "user.tagwriter", "kept");
    if (::geteuid() == 0) {
      EXPECT_EQ(::chown(path_.c_str(), kSomebody, kSomebody), 0);
    }
    EXPECT_EQ(::chmod(path_.c_str(), 04755), 0);
    before_ = stateOf(path_);
  }
  ~SafeCopyTest() override {
    EXPECT_EQ(namesIn(directory_.path()), names_);
    EXPECT_EQ(countDescriptors(), descriptors_);
  }

  Outcome make(SafeCopy& copy) { return copy.make(file_.get(), path_); }
  static std::string contentOf(const SafeCopy& copy) {
    return readFile("/proc/self/fd/" + std::to_string(copy.fd()));
  }
  void expectComplete() {
    SafeCopy copy;
    ASSERT_STATUS(Status::kWritten, make(copy));
    EXPECT_TRUE(contentOf(copy) == before_.bytes);
  }
  void expectFailure(Status status, const Outcome& outcome, const char* reason = "") {
    EXPECT_STATUS(status, outcome);
    EXPECT_NE(outcome.detail(), "");
    EXPECT_NE(outcome.detail().find(reason), std::string::npos) << outcome.detail();
    EXPECT_EQ(stateOf(path_), before_);
  }
  /// What the system may do to a copy that is written to.
  void loseAttributes(const SafeCopy& copy) const {
    ASSERT_EQ(::fchmod(copy.fd(), 0755), 0);
    ASSERT_EQ(hasAttributes_ ? ::fremovexattr(copy.fd(), "user.tagwriter") : 0, 0);
  }

  static std::string content() {
    std::string numbers;
    for (int i = 0; numbers.size() < 2'500'000; ++i) numbers += std::to_string(i);
    return numbers;
  }

  TemporaryDirectory directory_;
  std::string path_ = directory_.write("file.mp3", content());
  bool hasAttributes_ = false;
  FileState before_;
  Names names_ = {"file.mp3"};
  std::size_t descriptors_ = countDescriptors() + 1;
  UniqueFd file_ = openFile(path_);
  Interception unnamed_{Call::kOpenUnnamed, GetParam() ? EOPNOTSUPP : 0};
};

TEST_P(SafeCopyTest, IsCompleteHoweverTheSystemCopies) {
  expectComplete();
  const Interception cloning(Call::kClone, EOPNOTSUPP);
  const ShortCalls few(400'000);
  // Other processes may share the offset of the caller's descriptor and move it.
  const auto moving = [this] {
    EXPECT_EQ(::lseek(file_.get(), 77, SEEK_SET), 77);
    return 0;
  };
  const Interception reading(Call::kPread, moving);
  for (const int possible : {0, 1, 2, INT_MAX}) {
    int calls = 0;
    const Interception copying(Call::kCopyFileRange,
                               [&] { return calls++ < possible ? moving() : EXDEV; });
    const CallRecord record;
    expectComplete();
    EXPECT_GT(record.calls().size(), before_.bytes.size() / 400'000) << possible;
  }
}

TEST_P(SafeCopyTest, RepeatsInterruptedCalls) {
  const Interception cloning(Call::kClone, EOPNOTSUPP);
  int calls = 0;
  const auto everySecond = [&] { return ++calls % 2 ? EINTR : 0; };
  for (const Call call : {Call::kCopyFileRange, Call::kPread, Call::kWrite, Call::kFsync}) {
    SCOPED_TRACE(static_cast<int>(call));
    calls = 0;
    // Only an interruption of copy_file_range must not lead to pread.
    const bool byKernel = call == Call::kCopyFileRange;
    const Interception other(byKernel ? Call::kPread : Call::kCopyFileRange,
                             byKernel ? EIO : EXDEV);
    const Interception interrupting(call, everySecond);
    SafeCopy copy;
    ASSERT_STATUS(Status::kWritten, make(copy));
    EXPECT_TRUE(contentOf(copy) == before_.bytes);
    if (call == Call::kFsync) {
      EXPECT_STATUS(Status::kWritten, copy.replaceOriginal(file_.get()));
    }
    EXPECT_GE(calls, 4);
  }
}

TEST_P(SafeCopyTest, FailsIfTheContentCannotBeCopied) {
  const Interception cloning(Call::kClone, EOPNOTSUPP);
  const Interception copying(Call::kCopyFileRange, EXDEV);
  for (const Call call : {Call::kPread, Call::kWrite}) {
    const Interception failing(call, EIO);
    SafeCopy copy;
    expectFailure(Status::kCopyFailed, make(copy), "Input/output error");
  }
}

TEST_P(SafeCopyTest, FailsIfTheFileShrinksMeanwhile) {
  const Interception cloning(Call::kClone, [&] {
    fs::resize_file(path_, 1'500'000);
    return EOPNOTSUPP;
  });
  for (const int error : {0, EXDEV}) {
    const Interception copying(Call::kCopyFileRange, error);
    fs::resize_file(path_, before_.bytes.size());
    SafeCopy copy;
    EXPECT_STATUS(Status::kCopyFailed, make(copy));
  }
}

TEST_P(SafeCopyTest, IsNeverAStandardStream) {
  int fd = -1;
  withoutStandardStreams([&] {
    SafeCopy copy;
    if (make(copy)) fd = copy.fd();
  });
  EXPECT_GT(fd, STDERR_FILENO);
}

TEST_P(SafeCopyTest, FailsIfAnythingIsRefused) {
  for (const auto& [call, error, reason] :
       {std::tuple(Call::kFchown, EPERM, "setting the owner: Operation not permitted"),
        std::tuple(Call::kFchmod, EPERM, "setting the mode: Operation not permitted"),
        std::tuple(Call::kFsetxattr, EPERM, "extended attributes: Operation not permitted"),
        std::tuple(Call::kFsync, EIO, "flushing the copy: Input/output error"),
        std::tuple(Call::kLinkat, ENOENT, "naming the copy: No such file or directory"),
        std::tuple(Call::kRenameat, EACCES, "renaming the copy: Permission denied")}) {
    SCOPED_TRACE(reason);
    const bool isOwner = call == Call::kFchown;
    if (isOwner && ::geteuid() != 0) continue;  // the owner is right from the start
    if (call == Call::kFsetxattr && !hasAttributes_) continue;
    if (call == Call::kLinkat && GetParam()) continue;  // it has a name already
    const bool isAttribute = isOwner || call == Call::kFchmod || call == Call::kFsetxattr;
    if (isAttribute) {
      const Interception failing(call, error);
      SafeCopy copy;
      expectFailure(Status::kCopyFailed, make(copy), reason);
    }
    if (isOwner) continue;  // no write changes it
    SafeCopy copy;
    ASSERT_STATUS(Status::kWritten, make(copy));
    loseAttributes(copy);
    const Interception failing(call, error);
    expectFailure(Status::kReplaceFailed, copy.replaceOriginal(file_.get()), reason);
  }
  const Interception unnamed(Call::kOpenUnnamed, EOPNOTSUPP);
  const Interception made(Call::kOpenNew, EROFS);
  SafeCopy copy;
  expectFailure(Status::kCopyFailed, make(copy), "Read-only file system");
}

TEST_P(SafeCopyTest, SetsOnlyAttributesThatDiffer) {
  // Not every file system supports changing the owner or the mode, even to the same value.
  ASSERT_EQ(::chown(path_.c_str(), ::geteuid(), ::getegid()), 0);
  ASSERT_EQ(::chmod(path_.c_str(), 0600), 0);
  const Interception owner(Call::kFchown, EPERM);
  const Interception mode(Call::kFchmod, EPERM);
  SafeCopy copy;
  ASSERT_STATUS(Status::kWritten, make(copy));
  const Interception attribute(Call::kFsetxattr, EPERM);
  EXPECT_STATUS(Status::kWritten, copy.replaceOriginal(file_.get()));
}

TEST_P(SafeCopyTest, RestoresLostAttributesBeforeTheFlush) {
  SafeCopy copy;
  ASSERT_STATUS(Status::kWritten, make(copy));
  loseAttributes(copy);
  ASSERT_EQ(::pwrite(copy.fd(), "edited", 6, 0), 6);
  const CallRecord record;
  ASSERT_STATUS(Status::kWritten, copy.replaceOriginal(file_.get()));
  Names expected = {"fchmod", "fsync"};
  if (hasAttributes_) expected.insert(expected.begin(), "fsetxattr");
  if (!GetParam()) expected.emplace_back("linkat");
  expected.insert(expected.end(), {"renameat", "fsync"});
  EXPECT_EQ(record.calls(), expected);
  const FileState after = stateOf(path_);
  EXPECT_EQ(after.bytes.substr(0, 6), "edited");
  EXPECT_EQ(after.mode, before_.mode);
  EXPECT_EQ(after.attributes, before_.attributes);
}

TEST_P(SafeCopyTest, IgnoresAnAttributeThatWasRemovedWithAnother) {
  // Some file systems list an inherited access list under two names, and remove both at once.
  if (!hasAttributes_) GTEST_SKIP() << "no extended attributes here";
  SafeCopy copy;
  const auto pathOfCopy = [&] { return "/proc/self/fd/" + std::to_string(copy.fd()); };
  const Interception inheriting(Call::kClone, [&] {
    return setAttribute(pathOfCopy(), "user.inherited", "1") ? 0 : ENOTSUP;
  });
  int removed = 0;
  const Interception removing(Call::kFremovexattr, [&] {
    removed += ::removexattr(pathOfCopy().c_str(), "user.inherited") == 0;
    return 0;
  });
  ASSERT_STATUS(Status::kWritten, make(copy));
  EXPECT_EQ(removed, 1);
  ASSERT_STATUS(Status::kWritten, copy.replaceOriginal(file_.get()));
  EXPECT_EQ(stateOf(path_).attributes, before_.attributes);
}

TEST_P(SafeCopyTest, TakesTheNameThatAFailedRenameHasMadeFree) {
  SafeCopy copy;
  ASSERT_STATUS(Status::kWritten, make(copy));
  int renames = 0;
  const Interception renaming(Call::kRenameat, [&] {
    if (renames++ > 0) return 0;
    ::unlink(path_.c_str());
    return EIO;
  });
  EXPECT_STATUS(Status::kWritten, copy.replaceOriginal(file_.get()));
  EXPECT_TRUE(readFile(path_) == before_.bytes);
}

TEST_P(SafeCopyTest, StaysIfItIsAllThatIsLeft) {
  const Interception renaming(Call::kRenameat, [&] {
    ::unlink(path_.c_str());
    return EIO;
  });
  Outcome outcome;
  {
    SafeCopy copy;
    ASSERT_STATUS(Status::kWritten, make(copy));
    outcome = copy.replaceOriginal(file_.get());
  }
  EXPECT_STATUS(Status::kReplaceFailed, outcome);
  names_ = namesIn(directory_.path());
  ASSERT_EQ(names_.size(), 1U);
  EXPECT_EQ(outcome.detail(),
            "renaming the copy: Input/output error; the edited file is now " + names_.front());
  EXPECT_TRUE(readFile(fs::path(directory_.path()) / names_.front()) == before_.bytes);
}

TEST_P(SafeCopyTest, IsPrivateUntilItHasItsMode) {
  (void)setAttribute(directory_.path(), kDefaultAccessList, accessListFor(kSomebody));
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
  EXPECT_STATUS(Status::kWritten, make(copy));
  ::umask(mask);
  EXPECT_GE(seen.size(), 1);
  EXPECT_EQ(std::set(seen.begin(), seen.end()), std::set<mode_t>{0600});
}

INSTANTIATE_TEST_SUITE_P(Copy, SafeCopyTest, testing::Bool(), [](const auto& info) {
  return info.param ? std::string("WithAName") : std::string("Unnamed");
});

}  // namespace
}  // namespace tagwriter::test

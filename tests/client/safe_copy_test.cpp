// The copy of safe mode: complete or not made, in place or gone, whatever the system refuses.
#include "client/safe_copy.h"

#include <unistd.h>

#include <cerrno>

#include "tests/client/client_test.h"
#include "tests/client/file_state.h"
#include "tests/client/system_calls.h"
#include "tests/support/descriptors.h"

namespace tagwriter::test {
namespace {

using Names = std::vector<std::string>;

/// A call that fails with this error for the life of the object.
class Failing : public Interception {
 public:
  Failing(Call call, int error) : Interception(call, [error] { return error; }) {}
};

class SafeCopyTest : public testing::Test {
 protected:
  SafeCopyTest() { (void)setAttribute(path_, "user.tagwriter", "kept"); }

  std::string contentOf(const SafeCopy& copy) {
    return bytesOf("/proc/self/fd/" + std::to_string(copy.fd()));
  }
  void expectAlone() { EXPECT_EQ(namesIn(folder_.path()), Names{"file.mp3"}); }

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
  FileState before_ = stateOf(path_);
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

TEST_F(SafeCopyTest, OfAnEmptyFile) {
  const std::string empty = folder_.write("empty", "");
  SafeCopy copy;
  ASSERT_STATUS(Status::kWritten, copy.make(openFile(empty).get(), empty));
  EXPECT_EQ(contentOf(copy), "");
}

TEST_F(SafeCopyTest, IsNotMadeWhenSomethingCannotBeKept) {
  before_ = stateOf(path_);
  const std::size_t descriptors = countDescriptors();
  for (const bool named : {false, true}) {
    for (const Call call : {Call::kFchown, Call::kFchmod, Call::kFsetxattr}) {
      SCOPED_TRACE(static_cast<int>(call));
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

TEST_F(SafeCopyTest, DoesNotTakeItWhenTheSystemRefuses) {
  before_ = stateOf(path_);
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
  }
}

TEST_F(SafeCopyTest, DoesNotTakeItFromAnotherVersion) {
  constexpr timespec kThen = {1'000'000'000, 5};
  setTimes(path_, kThen, kThen);
  SafeCopy copy;
  ASSERT_STATUS(Status::kWritten, copy.make(file_.get(), path_));
  const auto refused = [&] {
    EXPECT_STATUS(Status::kReplaceFailed, copy.replaceOriginal(file_.get()));
    setTimes(path_, kThen, kThen);
  };
  setTimes(path_, kThen, {kThen.tv_sec, kThen.tv_nsec + 1});
  refused();
  setTimes(path_, kThen, {kThen.tv_sec - 1, kThen.tv_nsec});
  refused();
  std::filesystem::resize_file(path_, content().size() - 1);
  setTimes(path_, kThen, kThen);
  refused();
  std::filesystem::resize_file(path_, content().size());
  setTimes(path_, kThen, kThen);
  EXPECT_STATUS(Status::kWritten, copy.replaceOriginal(file_.get()));
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
  // Whoever may not read the file must not be able to read its copy.
  for (const bool named : {false, true}) {
    const Failing unnamed(Call::kOpenUnnamed, named ? EOPNOTSUPP : 0);
    const mode_t mask = ::umask(0);
    mode_t seen = 07777;
    const Interception looking(Call::kFchown, [&] {
      for (int fd = 3; fd < 256; ++fd) {
        struct stat status {};
        const bool isCopy = ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) &&
                            status.st_ino != before_.inode &&
                            status.st_size == std::ssize(before_.bytes);
        if (isCopy) seen = status.st_mode & 07777;
      }
      return 0;
    });
    SafeCopy copy;
    const Outcome outcome = copy.make(file_.get(), path_);
    ::umask(mask);
    ASSERT_STATUS(Status::kWritten, outcome);
    EXPECT_EQ(seen, 0600) << named;
  }
}

}  // namespace
}  // namespace tagwriter::test

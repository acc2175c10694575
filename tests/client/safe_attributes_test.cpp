// Safe mode: the file is another one afterwards, and nobody can tell by its attributes.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/client/client_test.h"
#include "tests/client/file_state.h"

namespace tagwriter::test {
namespace {

constexpr uid_t kNobody = 65534;  // who `unprivileged` is
constexpr uid_t kSomebody = 12345;
constexpr gid_t kSomeGroup = 23456;
constexpr int kWritten = static_cast<int>(Status::kWritten);

class SafeAttributes : public ClientTest {
 protected:
  /// Makes a safe edit; everything but content, inode and times must be as before.
  void expectKept() {
    const FileState before = stateOf(path_);
    const std::string title = "Title " + std::to_string(++edits_);
    ASSERT_STATUS(Status::kWritten, writer_.setField(path_, "title", title, {.safe = true}));
    const FileState after = stateOf(path_);
    EXPECT_NE(after.inode, before.inode);
    EXPECT_EQ(titleOf(path_), title);
    EXPECT_EQ(after.mode, before.mode);
    EXPECT_EQ(after.owner, before.owner);
    EXPECT_EQ(after.group, before.group);
    EXPECT_EQ(after.attributes, before.attributes);
  }

  /// Makes a safe edit with a worker of its own; the status.
  int safeEdit(const AudioFile& file) const {
    TagWriter writer(TAGWRITER_WORKER);
    return static_cast<int>(
        writer.setField(file, "title", std::string("Title"), {.safe = true}).status);
  }
  int safeEdit() const { return safeEdit(path_); }

  std::string path_ = directory_.copyOf("flac_plain.flac");
  int edits_ = 0;
};

TEST_F(SafeAttributes, OfTheMode) {
  for (const mode_t mode : {0600, 0644, 0666, 0755, 0777, 04755, 02775, 01666}) {
    SCOPED_TRACE(mode);
    ASSERT_EQ(::chmod(path_.c_str(), mode), 0);
    expectKept();
    EXPECT_EQ(stateOf(path_).mode & 07777, mode);
  }
}

TEST_F(SafeAttributes, OfTheModeWithoutPrivileges) {
  // The system takes these marks away whenever such a user writes to a file.
  std::filesystem::permissions(directory_.path(), std::filesystem::perms(0777));
  if (::geteuid() == 0) {
    ASSERT_EQ(::chown(path_.c_str(), kNobody, kNobody), 0);
  }
  for (const mode_t mode : {04755, 02775, 06711, 01666}) {
    SCOPED_TRACE(mode);
    ASSERT_EQ(::chmod(path_.c_str(), mode), 0);
    const FileState before = stateOf(path_);
    EXPECT_EQ(unprivileged(directory_, [this] { return safeEdit(); }), kWritten);
    const FileState after = stateOf(path_);
    EXPECT_NE(after.inode, before.inode);
    EXPECT_EQ(after.mode, before.mode);
    EXPECT_EQ(after.owner, before.owner);
    EXPECT_EQ(after.group, before.group);
  }
}

TEST_F(SafeAttributes, OfAModeThatCannotBeKept) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a file to a group of others";
  // Nobody may own a file of this group, but not mark it: the system leaves the mark out and says
  // that all is well.
  ASSERT_EQ(::chown(directory_.path().c_str(), kNobody, kSomeGroup), 0);
  ASSERT_EQ(::chmod(directory_.path().c_str(), 02777), 0);
  ASSERT_EQ(::chown(path_.c_str(), kNobody, kSomeGroup), 0);
  ASSERT_EQ(::chmod(path_.c_str(), 02775), 0);
  const FileState before = stateOf(path_);
  EXPECT_EQ(unprivileged(directory_, [this] { return safeEdit(); }),
            static_cast<int>(Status::kCopyFailed));
  EXPECT_EQ(stateOf(path_), before);
  EXPECT_EQ(namesIn(directory_.path()).size(), 1);
  // It is the mark that stands in the way.
  ASSERT_EQ(::chmod(path_.c_str(), 0775), 0);
  EXPECT_EQ(unprivileged(directory_, [this] { return safeEdit(); }), kWritten);
  EXPECT_EQ(stateOf(path_).mode & 07777, 0775);
  EXPECT_EQ(stateOf(path_).group, kSomeGroup);
}

TEST_F(SafeAttributes, OfTheModeWhateverTheMask) {
  ASSERT_EQ(::chmod(path_.c_str(), 0666), 0);
  const mode_t before = ::umask(0077);
  expectKept();
  ::umask(before);
  EXPECT_EQ(stateOf(path_).mode & 07777, 0666);
}

TEST_F(SafeAttributes, OfTheOwner) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
  ASSERT_EQ(::chown(path_.c_str(), kSomebody, kSomeGroup), 0);
  ASSERT_EQ(::chmod(path_.c_str(), 06754), 0);
  expectKept();
  const FileState after = stateOf(path_);
  EXPECT_EQ(after.owner, kSomebody);
  EXPECT_EQ(after.group, kSomeGroup);
  EXPECT_EQ(after.mode & 07777, 06754);
}

TEST_F(SafeAttributes, ThatAreExtended) {
  if (!setAttribute(path_, "user.one", "1")) GTEST_SKIP() << "no extended attributes here";
  ASSERT_TRUE(setAttribute(path_, "user.empty", ""));
  ASSERT_TRUE(setAttribute(path_, "user.bytes", std::string("\0\xff", 2)));
  ASSERT_TRUE(setAttribute(path_, "user.long", std::string(2000, 'x')));
  expectKept();
  EXPECT_EQ(stateOf(path_).attributes["user.bytes"], std::string("\0\xff", 2));
}

TEST_F(SafeAttributes, ThatTheOwnerMayNotChange) {
  // The file has become read-only since it was opened.
  if (!setAttribute(path_, "user.one", "1")) GTEST_SKIP() << "no extended attributes here";
  std::filesystem::permissions(directory_.path(), std::filesystem::perms(0777));
  if (::geteuid() == 0) {
    ASSERT_EQ(::chown(path_.c_str(), kNobody, kNobody), 0);
  }
  const UniqueFd file = openFile(path_);
  ASSERT_EQ(::chmod(path_.c_str(), 0444), 0);
  const FileState before = stateOf(path_);
  EXPECT_EQ(unprivileged(directory_, [&] { return safeEdit({file.get(), path_}); }), kWritten);
  const FileState after = stateOf(path_);
  EXPECT_NE(after.inode, before.inode);
  EXPECT_EQ(after.mode, before.mode);
  EXPECT_EQ(after.attributes, before.attributes);
}

TEST_F(SafeAttributes, ThatEveryWriteTakesAway) {
  if (!setAttribute(path_, kCapability, capability())) {
    GTEST_SKIP() << "only root can set a capability, and not everywhere";
  }
  expectKept();
  EXPECT_EQ(stateOf(path_).attributes[kCapability], capability());
}

TEST_F(SafeAttributes, OfTheAccessList) {
  if (!setAttribute(path_, kAccessList, accessListFor(kSomebody))) {
    GTEST_SKIP() << "no access lists here";
  }
  expectKept();
  EXPECT_EQ(stateOf(path_).attributes[kAccessList], accessListFor(kSomebody));
}

TEST_F(SafeAttributes, OfTheDirectoryAreNotTakenOver) {
  // New files in this directory let somebody read them. This one does not.
  ASSERT_EQ(::chmod(path_.c_str(), 0600), 0);
  if (!setAttribute(directory_.path(), kDefaultAccessList, accessListFor(kSomebody))) {
    GTEST_SKIP() << "no access lists here";
  }
  expectKept();
}

}  // namespace
}  // namespace tagwriter::test

// Safe mode keeps owner, mode and extended attributes, or fails.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/client/client_test.h"
#include "tests/client/file_state.h"

namespace tagwriter::test {
namespace {

constexpr uid_t kNobody = 65534;  // the user of `unprivileged`
constexpr uid_t kSomebody = 12345;
constexpr gid_t kSomeGroup = 23456;

class SafeAttributes : public ClientTest {
 protected:
  /// Makes a safe edit that must change only content, inode and times.
  void expectKept(bool privileged = true) {
    const FileState before = stateOf(path_);
    const auto edit = [this] { return static_cast<int>(safeEdit()); };
    EXPECT_EQ(privileged ? edit() : unprivileged(directory_, edit), 0);
    const FileState after = stateOf(path_);
    EXPECT_NE(after.inode, before.inode);
    EXPECT_EQ(after.mode, before.mode);
    EXPECT_EQ(after.owner, before.owner);
    EXPECT_EQ(after.group, before.group);
    EXPECT_EQ(after.attributes, before.attributes);
  }
  Status safeEdit() const {
    TagWriter writer(worker_);
    const AudioFile file = file_ ? AudioFile(file_.get(), path_) : AudioFile(path_);
    return writer.setField(file, "title", std::string("Title"), {.safe = true}).status();
  }
  void chmod(mode_t mode) const { ASSERT_EQ(::chmod(path_.c_str(), mode), 0); }
  /// Makes the file belong to the user of `unprivileged`, who may write to the directory.
  void giveToNobody(gid_t group = kNobody) {
    ASSERT_EQ(::chmod(directory_.path().c_str(), 02777), 0);
    if (::geteuid() != 0) return;
    ASSERT_EQ(::chown(directory_.path().c_str(), kNobody, group), 0);
    ASSERT_EQ(::chown(path_.c_str(), kNobody, group), 0);
  }

  const std::string worker_ = workerForEveryone();
  std::string path_ = directory_.copyOf("flac_plain.flac");
  UniqueFd file_;
};

TEST_F(SafeAttributes, ModeWhateverTheUmask) {
  const mode_t mask = ::umask(0077);
  for (const mode_t mode : {0600, 0644, 0666, 0777, 04755, 02775, 01666}) {
    SCOPED_TRACE(mode);
    chmod(mode);
    expectKept();
  }
  ::umask(mask);
}

TEST_F(SafeAttributes, ModeWithoutPrivileges) {
  // Every write by such a user clears the set-user-ID bits.
  giveToNobody();
  for (const mode_t mode : {04755, 02775, 06711, 01666}) {
    SCOPED_TRACE(mode);
    chmod(mode);
    expectKept(false);
  }
}

TEST_F(SafeAttributes, ModeThatCannotBeKept) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a file to a foreign group";
  // Nobody may own a file of a foreign group, but chmod silently drops the set-group-ID bit.
  giveToNobody(kSomeGroup);
  chmod(02775);
  const FileState before = stateOf(path_);
  EXPECT_EQ(unprivileged(directory_, [this] { return static_cast<int>(safeEdit()); }),
            static_cast<int>(Status::kCopyFailed));
  EXPECT_EQ(stateOf(path_), before);
  EXPECT_EQ(namesIn(directory_.path()).size(), 1);
  chmod(0775);
  expectKept(false);
}

TEST_F(SafeAttributes, Owner) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can change the owner of a file";
  ASSERT_EQ(::chown(path_.c_str(), kSomebody, kSomeGroup), 0);
  chmod(06754);
  expectKept();
}

TEST_F(SafeAttributes, ExtendedAttributes) {
  std::string unsupported;
  for (const auto& [name, value] : {std::pair<const char*, std::string>("user.empty", ""),
                                    {"user.bytes", {"\0\xff", 2}},
                                    {"user.long", std::string(2000, 'x')},
                                    {kAccessList, accessListFor(kSomebody)},
                                    {kCapability, capability()}}) {
    if (!setAttribute(path_, name, value)) unsupported += std::string(" ") + name;
  }
  expectKept();
  if (!unsupported.empty()) GTEST_SKIP() << "not supported here:" << unsupported;
}

TEST_F(SafeAttributes, ExtendedAttributesThatTheOwnerCannotSet) {
  // The file became read-only after it was opened.
  if (!setAttribute(path_, "user.one", "1")) GTEST_SKIP() << "no extended attributes here";
  giveToNobody();
  file_ = openFile(path_);
  chmod(0444);
  expectKept(false);
}

TEST_F(SafeAttributes, NotTheAccessListOfTheDirectory) {
  chmod(0600);
  if (!setAttribute(directory_.path(), kDefaultAccessList, accessListFor(kSomebody))) {
    GTEST_SKIP() << "no access lists here";
  }
  expectKept();
}

}  // namespace
}  // namespace tagwriter::test

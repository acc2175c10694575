// The modification time: new after an edit, or to the nanosecond what it was.
#include <unistd.h>

#include "tests/client/client_test.h"
#include "tests/client/file_state.h"

namespace tagwriter::test {
namespace {

constexpr timespec kModified = {1'234'567'890, 123'456'789};
constexpr std::int64_t kModifiedNanoseconds = 1'234'567'890'123'456'789;
// So far ahead that no file system moves it when the file is read.
constexpr timespec kAccessed = {4'102'444'800, 987'654'321};

class Times : public ClientTest, public testing::WithParamInterface<bool> {
 protected:
  Times() { setTimes(path_, kAccessed, kModified); }

  WriteOptions keeping() const { return {.safe = GetParam(), .keepTimes = true}; }
  WriteOptions plain() const { return {.safe = GetParam(), .keepTimes = false}; }

  std::string path_ = directory_.copyOf("flac_plain.flac");
};

TEST_P(Times, AreNewAfterAnEdit) {
  EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "title", std::string("T"), plain()));
  EXPECT_GT(stateOf(path_).modified, kModifiedNanoseconds);
}

TEST_P(Times, AreKeptOnDemand) {
  EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "title", std::string("T"), keeping()));
  EXPECT_EQ(stateOf(path_).modified, kModifiedNanoseconds);
  EXPECT_EQ(titleOf(path_), "T");
}

TEST_P(Times, ThatCannotBeKeptAreSaid) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can make a file somebody else's";
  // Whoever may write the file need not be allowed to set its time.
  std::filesystem::permissions(path_, std::filesystem::perms(0666));
  const int status = unprivileged(directory_, [this] {
    TagWriter writer(TAGWRITER_WORKER);
    return static_cast<int>(writer.setField(path_, "title", std::string("T"), keeping()).status);
  });
  EXPECT_EQ(static_cast<Status>(status), GetParam() ? Status::kCopyFailed : Status::kTimesNotKept);
  EXPECT_EQ(titleOf(path_), GetParam() ? "-" : "T");
}

TEST_P(Times, AreKeptThroughADescriptor) {
  const UniqueFd file = openFile(path_);
  EXPECT_STATUS(Status::kWritten,
                writer_.setField({file.get(), path_}, "title", std::string("T"), keeping()));
  EXPECT_EQ(stateOf(path_).modified, kModifiedNanoseconds);
}

TEST_P(Times, AreKeptOverSeveralEditsAndAFailure) {
  const Edit edits[] = {Edit::setField("title", std::string("T")),
                        Edit::setField("artist", std::string("A")), Edit::clearField("titel")};
  EXPECT_STATUS(Status::kWritten, writer_.write(path_, std::span(edits, 2), keeping()));
  EXPECT_EQ(stateOf(path_).modified, kModifiedNanoseconds);
  EXPECT_STATUS(Status::kUnknownField, writer_.write(path_, edits, keeping()));
  EXPECT_EQ(stateOf(path_).modified, kModifiedNanoseconds);
}

INSTANTIATE_TEST_SUITE_P(Mode, Times, testing::Bool(), [](const auto& info) {
  return info.param ? std::string("Safe") : std::string("InPlace");
});

TEST_F(ClientTest, LeavesTheTimeOfAccessToTheSystem) {
  const std::string path = directory_.copyOf("flac_plain.flac");
  setTimes(path, kAccessed, kModified);
  EXPECT_STATUS(Status::kWritten,
                writer_.setField(path, "title", std::string("T"), {.keepTimes = true}));
  struct stat status {};
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_atim.tv_sec, kAccessed.tv_sec);
  EXPECT_EQ(status.st_atim.tv_nsec, kAccessed.tv_nsec);
}

}  // namespace
}  // namespace tagwriter::test

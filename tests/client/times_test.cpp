// The modification time is new after an edit, or restored to the nanosecond.
#include <unistd.h>

#include "tests/client/client_test.h"
#include "tests/client/file_state.h"
#include "tests/client/system_calls.h"

namespace tagwriter::test {
namespace {

constexpr timespec kModified = {1'234'567'890, 123'456'789};
constexpr std::int64_t kModifiedNanoseconds = 1'234'567'890'123'456'789;
// So far ahead that reading the file does not change it.
constexpr timespec kAccessed = {4'102'444'800, 987'654'321};

class Times : public ClientTest, public testing::WithParamInterface<bool> {
 protected:
  Times() { setTimes(path_, kAccessed, kModified); }

  std::int64_t modified() const { return stateOf(path_).modified; }

  std::string path_ = directory_.copyOf("ape_tagged.ape");
  WriteOptions keep_ = {.safe = GetParam(), .keepTimes = true};
};

TEST_P(Times, AreRestoredOnlyOnDemand) {
  const UniqueFd file = openFile(path_);
  const Edit edits[] = {Edit::setField("title", std::string("T")), Edit::clearField("titel")};
  EXPECT_STATUS(Status::kUnknownField, writer_.write(path_, edits, keep_));
  EXPECT_EQ(modified(), kModifiedNanoseconds);
  EXPECT_STATUS(Status::kWritten, writer_.write({file.get(), path_}, edits[0], keep_));
  EXPECT_EQ(modified(), kModifiedNanoseconds);
  struct stat status {};
  ASSERT_EQ(::stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_atim.tv_sec == kAccessed.tv_sec, !GetParam()) << "only in place";
  EXPECT_EQ(titleOf(path_), "T");
  const Edit other = Edit::setField("title", std::string("U"));
  EXPECT_STATUS(Status::kWritten, writer_.write(path_, other, {.safe = GetParam()}));
  EXPECT_GT(modified(), kModifiedNanoseconds);
}

TEST_P(Times, ThatCannotBeRestoredAreReported) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can make a file of somebody else";
  // Permission to write the file is not enough to set its times.
  std::filesystem::permissions(path_, std::filesystem::perms(0666));
  const int status = unprivileged(directory_, [this, worker = workerForEveryone()] {
    TagWriter writer(worker);
    return static_cast<int>(writer.setField(path_, "title", std::string("T"), keep_).status());
  });
  EXPECT_EQ(static_cast<Status>(status), GetParam() ? Status::kCopyFailed : Status::kTimesNotKept);
  EXPECT_EQ(titleOf(path_) == "T", !GetParam());
}

INSTANTIATE_TEST_SUITE_P(Mode, Times, testing::Bool(), [](const auto& info) {
  return info.param ? std::string("Safe") : std::string("InPlace");
});

TEST_F(ClientTest, TheModificationTimeIsNewIfTheWorkerDies) {
  const std::string path = directory_.copyOf("ape_tagged.ape");
  EXPECT_STATUS(Status::kWritten, writer_.setField(path, "title", std::string(5000, 'x')));
  setTimes(path, kAccessed, kModified);
  // While the worker waits for the file to be truncated, having written to it.
  const Interception killing(Call::kFtruncate, [worker = *children().begin()] {
    killChild(worker);
    return 0;
  });
  EXPECT_STATUS(Status::kNoAnswer, writer_.clearField(path, "title", {.keepTimes = true}));
  EXPECT_GT(stateOf(path).modified, kModifiedNanoseconds) << "a damaged file looks unmodified";
}

}  // namespace
}  // namespace tagwriter::test

// Safe mode, where it goes well: the finished copy stands in the file's place.
#include <algorithm>
#include <cerrno>

#include "tests/client/client_test.h"
#include "tests/client/file_state.h"
#include "tests/client/system_calls.h"

namespace tagwriter::test {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class SafeMode : public ClientTest {
 protected:
  Outcome setTitle(const AudioFile& file, const std::string& title = "Title") {
    return writer_.setField(file, "title", title, {.safe = true});
  }

  std::string path_ = directory_.copyOf("flac_plain.flac");
  FileState before_ = stateOf(path_);
};

TEST_F(SafeMode, WritesWhatAnEditInPlaceWrites) {
  for (const std::string& name : audioFileNames()) {
    SCOPED_TRACE(name);
    const std::string inPlace = directory_.copyOf(name, "in place " + name);
    const std::string safe = directory_.copyOf(name);
    const bool written =
        static_cast<bool>(writer_.setField(inPlace, "title", std::string("Title")));
    const FileState before = stateOf(safe);
    EXPECT_EQ(static_cast<bool>(setTitle(safe)), written);
    if (written) {
      EXPECT_TRUE(stateOf(safe).bytes == bytesOf(inPlace));
    } else {
      EXPECT_EQ(stateOf(safe), before);
    }
  }
}

TEST_F(SafeMode, GivesTheFileANewInodeAndLeavesNothingBehind) {
  EXPECT_STATUS(Status::kWritten, setTitle(path_));
  EXPECT_NE(stateOf(path_).inode, before_.inode);
  EXPECT_EQ(titleOf(path_), "Title");
  EXPECT_EQ(namesIn(directory_.path()), Names{"flac_plain.flac"});
}

TEST_F(SafeMode, CopiesFilesOfManyMegabytes) {
  std::string bytes = readFile(dataFile("flac_plain.flac"));
  for (std::uint32_t i = 0; bytes.size() < 5'000'001; ++i) bytes += std::to_string(i);
  directory_.write("flac_plain.flac", bytes);
  const std::string inPlace = directory_.write("in place.flac", bytes);
  const std::string title(100'000, 'x');
  EXPECT_STATUS(Status::kWritten, setTitle(path_, title));
  EXPECT_STATUS(Status::kWritten, writer_.setField(inPlace, "title", title));
  EXPECT_GT(bytesOf(path_).size(), bytes.size());
  EXPECT_TRUE(bytesOf(path_) == bytesOf(inPlace));
}

TEST_F(SafeMode, LeavesHardLinksTheOldContent) {
  const std::string link = in(directory_, "link.flac");
  fs::create_hard_link(path_, link);
  EXPECT_STATUS(Status::kWritten, setTitle(path_));
  EXPECT_EQ(stateOf(link), before_);
}

TEST_F(SafeMode, LeavesOpenDescriptorsTheOldContent) {
  const UniqueFd file = openFile(path_);
  EXPECT_STATUS(Status::kWritten, setTitle({file.get(), path_}));
  EXPECT_EQ(titleOf(path_), "Title");
  EXPECT_EQ(titleOf(AudioFile(file.get(), path_)), "-");
}

TEST_F(SafeMode, InPlaceKeepsInodeAndHardLinks) {
  const std::string link = in(directory_, "link.flac");
  fs::create_hard_link(path_, link);
  EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "title", std::string("Title")));
  EXPECT_EQ(stateOf(path_).inode, before_.inode);
  EXPECT_EQ(titleOf(link), "Title");
}

TEST_F(SafeMode, ReplacesTheTargetOfASymbolicLink) {
  const fs::path elsewhere = directory_.path() / "elsewhere";
  fs::create_directory(elsewhere);
  fs::rename(path_, elsewhere / "target.flac");
  fs::create_symlink("elsewhere/target.flac", path_);
  const std::string chain = in(directory_, "chain.flac");
  fs::create_symlink("flac_plain.flac", chain);
  EXPECT_STATUS(Status::kWritten, setTitle(chain));
  EXPECT_EQ(fs::read_symlink(path_), "elsewhere/target.flac");
  EXPECT_EQ(fs::read_symlink(chain), "flac_plain.flac");
  EXPECT_EQ(titleOf((elsewhere / "target.flac").string()), "Title");
  EXPECT_NE(stateOf(elsewhere / "target.flac").inode, before_.inode);
  EXPECT_EQ(namesIn(elsewhere), Names{"target.flac"});
  EXPECT_EQ(namesIn(directory_.path()), (Names{"chain.flac", "elsewhere", "flac_plain.flac"}));
}

TEST_F(SafeMode, TakesARelativePath) {
  const fs::path before = fs::current_path();
  fs::current_path(directory_.path());
  const Outcome outcome = setTitle("flac_plain.flac");
  fs::current_path(before);
  EXPECT_STATUS(Status::kWritten, outcome);
  EXPECT_EQ(titleOf(path_), "Title");
}

TEST_F(SafeMode, TakesTheLongestName) {
  const std::string path = directory_.copyOf("flac_plain.flac", std::string(250, 'x') + ".flac");
  EXPECT_STATUS(Status::kWritten, setTitle(path));
  EXPECT_EQ(titleOf(path), "Title");
  // The same where the copy has a name.
  const Interception named(Call::kOpenUnnamed, [] { return EOPNOTSUPP; });
  EXPECT_STATUS(Status::kWritten, setTitle(path, "Again"));
  EXPECT_EQ(titleOf(path), "Again");
  EXPECT_EQ(namesIn(directory_.path()).size(), 2);
}

TEST_F(SafeMode, MakesAllEditsOnOneCopy) {
  const Edit edits[] = {Edit::setField("title", std::string("T")),
                        Edit::setField("artist", std::string("A")), Edit::setDisc(1, 2)};
  const CallRecord record;
  EXPECT_STATUS(Status::kWritten, writer_.write(path_, edits, {.safe = true}));
  EXPECT_EQ(titleOf(path_), "T");
  EXPECT_TRUE(readField(path_, "artist") == TrackValue(std::string("A")));
  const std::vector<std::string> calls = record.calls();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "rename"), 1);
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "open unnamed"), 1);
}

TEST_F(SafeMode, ReachesTheDiskBeforeItReachesTheName) {
  const CallRecord record;
  EXPECT_STATUS(Status::kWritten, setTitle(path_));
  Names calls = record.calls();
  // From the last flush of the copy on: copy, name, place, directory.
  ASSERT_GE(calls.size(), 4);
  calls.erase(calls.begin(), calls.end() - 4);
  EXPECT_EQ(calls, (Names{"fsync", "linkat", "rename", "fsync"}));
}

TEST_F(SafeMode, WorksWhereEveryFileHasAName) {
  const Interception named(Call::kOpenUnnamed, [] { return EOPNOTSUPP; });
  EXPECT_STATUS(Status::kWritten, setTitle(path_));
  EXPECT_EQ(titleOf(path_), "Title");
  EXPECT_NE(stateOf(path_).inode, before_.inode);
  EXPECT_EQ(namesIn(directory_.path()), Names{"flac_plain.flac"});
}

TEST_F(SafeMode, ShortensTheCopyThroughThePlayer) {
  EXPECT_STATUS(Status::kWritten, setTitle(path_, std::string(50'000, 'x')));
  const auto longer = fs::file_size(path_);
  EXPECT_STATUS(Status::kWritten, writer_.clearField(path_, "title", {.safe = true}));
  EXPECT_LT(fs::file_size(path_), longer);
}

}  // namespace
}  // namespace tagwriter::test

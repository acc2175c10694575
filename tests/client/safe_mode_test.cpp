// Safe mode: the edited copy replaces the file, or the file is unchanged and nothing is left
// behind.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "tests/client/client_test.h"
#include "tests/client/file_state.h"
#include "tests/client/system_calls.h"

namespace tagwriter::test {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

const WriteOptions kSafe = {.safe = true};
constexpr uid_t kSomebody = 12345;
/// The longest file name in an encrypted directory, in bytes.
constexpr std::size_t kShortestLimit = 143;

class SafeMode : public ClientTest {
 protected:
  Outcome setTitle(const AudioFile& file) {
    return writer_.setField(file, "title", std::string("Title"), kSafe);
  }
  void expectUnchanged() {
    EXPECT_EQ(stateOf(path_), before_);
    EXPECT_EQ(namesIn(directory_.path()), names_);
  }

  std::string path_ = directory_.copyOf("flac_plain.flac");
  FileState before_ = stateOf(path_);
  Names names_ = namesIn(directory_.path());
};

TEST_F(SafeMode, WritesWhatAnEditInPlaceWrites) {
  for (const std::string& name : audioFileNames()) {
    SCOPED_TRACE(name);
    const std::string inPlace = directory_.copyOf(name, "in place " + name);
    const std::string safe = directory_.copyOf(name);
    const FileState before = stateOf(safe);
    if (writer_.setField(inPlace, "title", std::string("Title"))) {
      EXPECT_STATUS(Status::kWritten, setTitle(safe));
      EXPECT_TRUE(stateOf(safe).bytes == readFile(inPlace));
    } else {
      EXPECT_STATUS(writer_.setField(safe, "title", std::string("Title")).status(), setTitle(safe));
      EXPECT_EQ(stateOf(safe), before);
    }
  }
}

TEST_F(SafeMode, ReplacesTheTargetOfASymbolicLink) {
  const fs::path elsewhere = directory_.path() / "elsewhere";
  fs::create_directory(elsewhere);
  fs::rename(path_, elsewhere / "target.flac");
  fs::create_symlink("elsewhere/target.flac", path_);
  fs::create_symlink("flac_plain.flac", in(directory_, "chain.flac"));
  const fs::path before = fs::current_path();
  fs::current_path(directory_.path());
  const Outcome outcome = setTitle("chain.flac");
  fs::current_path(before);
  EXPECT_STATUS(Status::kWritten, outcome);
  EXPECT_EQ(fs::read_symlink(path_), "elsewhere/target.flac");
  EXPECT_EQ(titleOf((elsewhere / "target.flac").string()), "Title");
  EXPECT_EQ(namesIn(elsewhere), Names{"target.flac"});
}

TEST_F(SafeMode, MakesAllEditsOnOneCopyAndFlushesItBeforeTheRename) {
  const Edit edits[] = {Edit::setField("title", std::string("T")),
                        Edit::setField("artist", std::string("A")), Edit::setDisc(1, 2)};
  const CallRecord record;
  EXPECT_STATUS(Status::kWritten, writer_.write(path_, edits, kSafe));
  Names calls = record.calls();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "open unnamed"), 1);
  ASSERT_GE(calls.size(), 4);
  EXPECT_EQ(Names(calls.end() - 4, calls.end()), (Names{"fsync", "linkat", "renameat", "fsync"}));
  EXPECT_EQ(titleOf(path_), "T");
  EXPECT_TRUE(readField(path_, "artist") == TrackValue(std::string("A")));
}

TEST_F(SafeMode, UsesAShortHiddenNameWhereTheCopyNeedsOne) {
  const Interception unnamed(Call::kOpenUnnamed, EOPNOTSUPP);
  for (const std::string& start : Names{"", "x", "xx"}) {
    std::string name = start;
    while (name.size() + std::strlen("夜.flac") <= NAME_MAX) name += "夜";
    const std::string path = directory_.copyOf("flac_plain.flac", name + ".flac");
    std::string hidden;
    const Interception looking(Call::kFsync, [&] {
      if (hidden.empty()) hidden = namesIn(directory_.path()).front();
      return 0;
    });
    EXPECT_STATUS(Status::kWritten, setTitle(path));
    EXPECT_EQ(titleOf(path), "Title");
    ASSERT_EQ(hidden.front(), '.');
    const std::string kept = hidden.substr(1, hidden.rfind(".tagwriter-") - 1);
    EXPECT_EQ((kept.size() - start.size()) % std::strlen("夜"), 0) << hidden;
    EXPECT_EQ(name.rfind(kept, 0), 0) << hidden;
    EXPECT_LE(hidden.size(), kShortestLimit);
    fs::remove(path);
  }
  EXPECT_EQ(namesIn(directory_.path()), names_);
}

TEST_F(SafeMode, FailsIfTheWorkerDies) {
  EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "title", std::string(50'000, 'x')));
  before_ = stateOf(path_);
  const pid_t worker = *children().begin();
  const Interception killing(Call::kFtruncate, [&] {
    killChild(worker);
    return 0;
  });
  EXPECT_STATUS(Status::kNoAnswer, writer_.clearField(path_, "title", kSafe));
  expectUnchanged();
}

TEST_F(SafeMode, FailsIfTheCopyBecomesUnreadable) {
  for (const char* damage : {"truncate", "overwrite", "none"}) {
    SCOPED_TRACE(damage);
    ::setenv("DAMAGE", damage, 1);
    TagWriter writer(TAGWRITER_STAND_IN);
    const Outcome outcome = writer.setField(path_, "title", std::string("Title"), kSafe);
    ::unsetenv("DAMAGE");
    if (damage == std::string("none")) {
      EXPECT_STATUS(Status::kWritten, outcome);
    } else {
      EXPECT_STATUS(Status::kCopyUnreadable, outcome);
      expectUnchanged();
    }
  }
}

TEST_F(SafeMode, FailsIfThePathIsAnotherFile) {
  const TemporaryDirectory elsewhere;
  const std::string other = elsewhere.copyOf("flac_comment.flac");
  const FileState otherBefore = stateOf(other);
  const UniqueFd file = openFile(path_);
  for (const std::string& path : {other, in(directory_, "missing"), std::string()}) {
    EXPECT_STATUS(Status::kCopyFailed,
                  writer_.setField({file.get(), path}, "title", std::string("Title"),
                                   {.safe = true, .anyFile = true}));
  }
  EXPECT_EQ(stateOf(other), otherBefore);
  expectUnchanged();
}

TEST_F(SafeMode, DoesNotReplaceAFileThatSomebodyElseChanges) {
  constexpr timespec kThen = {1'000'000'000, 5};
  const char* path = path_.c_str();
  const std::string moved = in(directory_, "moved.flac");
  const std::pair<const char*, std::function<void()>> changes[] = {
      {"append", [&] { std::ofstream(path_, std::ios::app) << 'x'; }},
      {"truncate", [&] { fs::resize_file(path_, 100); }},
      {"overwrite and restore the time",
       [&] {
         ASSERT_EQ(::pwrite(openFile(path_).get(), "other", 5, 0), 5);
         setTimes(path_, kThen, kThen);
       }},
      {"touch", [&] { ASSERT_EQ(::utimensat(AT_FDCWD, path, nullptr, 0), 0); }},
      {"mode", [&] { fs::permissions(path_, fs::perms(0640)); }},
      {"owner", [&] { ASSERT_EQ(::chown(path, ::geteuid() ? -1U : kSomebody, -1U), 0); }},
      {"attribute", [&] { (void)setAttribute(path_, "user.tagwriter", "new"); }},
      {"replace", [&] { fs::copy_file(path_, moved), fs::rename(moved, path_); }},
      {"move", [&] { fs::rename(path_, moved); }},
  };
  for (const auto& [name, change] : changes) {
    SCOPED_TRACE(name);
    fs::remove(moved);
    directory_.copyOf("flac_plain.flac");
    setTimes(path_, kThen, kThen);
    std::optional<FileState> changed;
    // During the flush, which can take seconds.
    const Interception meddling(Call::kFsync, [&] {
      waitForLaterTime(path_);
      change();
      changed = stateOf(fs::exists(path_) ? path_ : moved);
      return 0;
    });
    EXPECT_STATUS(Status::kReplaceFailed, setTitle(path_));
    EXPECT_EQ(changed, stateOf(fs::exists(path_) ? path_ : moved));
    EXPECT_EQ(namesIn(directory_.path()).size(), 1);
  }
}

TEST_F(SafeMode, StaysInItsDirectory) {
  // Somebody replaces the directory by a link to another one, which has a file of this name too.
  const TemporaryDirectory others;
  const std::string othersFile = others.copyOf("flac_plain.flac");
  const FileState othersBefore = stateOf(othersFile);
  const fs::path music = directory_.path() / "music";
  const fs::path moved = directory_.path() / "moved";
  fs::create_directory(music);
  fs::rename(path_, music / "flac_plain.flac");
  for (const bool fails : {true, false}) {
    for (const bool named : {false, true}) {
      const Interception unnamed(Call::kOpenUnnamed, named ? EOPNOTSUPP : 0);
      const Interception meddling(named ? Call::kRenameat : Call::kLinkat, [&] {
        fs::rename(music, moved);
        fs::create_directory_symlink(others.path(), music);
        return fails ? EIO : 0;
      });
      const Status expected = fails ? Status::kReplaceFailed : Status::kWritten;
      EXPECT_STATUS(expected, setTitle((music / "flac_plain.flac").string()));
      EXPECT_EQ(stateOf(othersFile), othersBefore);
      EXPECT_EQ(namesIn(others.path()), Names{"flac_plain.flac"});
      EXPECT_EQ(titleOf((moved / "flac_plain.flac").string()), fails ? "-" : "Title");
      EXPECT_EQ(namesIn(moved), Names{"flac_plain.flac"});
      fs::remove(music);
      fs::rename(moved, music);
    }
  }
}

}  // namespace
}  // namespace tagwriter::test

// TagWriter::check: returns what a write would return, for every kind of file, and changes nothing.
#include <fcntl.h>

#include "tests/client/client_test.h"
#include "tests/client/file_state.h"

namespace tagwriter::test {
namespace {

class Check : public ClientTest {
 protected:
  /// Compares the check with the write.
  void expectSame(const std::string& path, std::span<const Edit> edits,
                  const WriteOptions& options) {
    const FileState before = stateOf(path);
    const Outcome checked = writer_.check(path, edits, options);
    EXPECT_EQ(stateOf(path), before);
    const Outcome outcome = writer_.write(path, edits, options);
    EXPECT_STATUS(outcome.status(), checked);
    EXPECT_EQ(checked.message(), outcome.message());
    EXPECT_EQ(checked.edit(), outcome.edit());
  }

  std::vector<std::byte> image_ = imageBytes("cover_red.png");
};

TEST_F(Check, ReturnsWhatAWriteReturns) {
  const Edit title = Edit::setField("title", "T");
  const Edit composer = Edit::setField("composer", "C");
  const Edit total = Edit::setField("totalNumberOfTracks", std::int64_t{12});
  const Edit number = Edit::setField("trackNumber", std::int64_t{3});
  const Edit noNumber = Edit::clearField("trackNumber");
  const Edit cue = Edit::setField("cueSheet", "C");
  const Edit cover = Edit::setCover(image_, ImageType::kPNG, false);
  const Edit newCover = Edit::setCover(image_, ImageType::kPNG, true);
  const Edit noCover = Edit::clearCovers();
  const std::vector<Edit> series[] = {{title},
                                      {composer},
                                      {title, cue},
                                      {cue},
                                      {composer, cue},
                                      {total},
                                      {total, number},
                                      {number, total, noNumber, total},
                                      {Edit::clearField("totalNumberOfTracks")},
                                      {cover},
                                      {newCover, cover},
                                      {cover, noCover, cover},
                                      {noCover},
                                      {composer, noCover},
                                      {title, Edit::setField("titel", "T")},
                                      {Edit::setField("rating", 5.5)},
                                      {}};
  std::vector<std::string> names = audioFileNames();
  for (const char* noise : {"noise.flac", "noise.m4a", "noise.mp3", "noise.ape", "noise.ogg"}) {
    directory_.write(noise, std::string(1000, '\1'));
    names.emplace_back(noise);
  }
  for (const std::string& name : names) {
    const bool isNoise = name.starts_with("noise");
    const std::string original =
        isNoise ? readFile(in(directory_, name)) : readFile(dataFile(name));
    for (const auto& edits : series) {
      // Written without effect: only the write notices where the pointer leads.
      if (name.starts_with("dsf_pointer") && edits.size() > 1) continue;
      const auto index = &edits - series;
      SCOPED_TRACE(name + ", series " + std::to_string(index));
      expectSame(directory_.write(name, original), edits, {.safe = index % 4 == 2});
    }
  }
}

TEST_F(Check, SeesWhatTheFileItselfPrevents) {
  const Edit edits[] = {Edit::setField("title", "T")};
  const std::string text = directory_.write("notes.txt", "text");
  for (const bool any : {false, true}) expectSame(text, edits, {.anyFile = any});
  const std::string mp3 = directory_.copyOf("mp3_plain.mp3");
  const UniqueFd reading = openFile(mp3, O_RDONLY);
  EXPECT_STATUS(Status::kNotWritable, writer_.check({reading.get(), mp3}, edits));
  EXPECT_STATUS(Status::kNotFound, writer_.check(in(directory_, "missing.mp3"), edits));
  EXPECT_STATUS(Status::kCopyFailed,
                writer_.check({openFile(mp3).get(), "elsewhere.mp3"}, edits, {.safe = true}));
}

TEST_F(Check, SeesThatTheDirectoryTakesNoCopy) {
  const std::string path = directory_.copyOf("mp3_plain.mp3");
  std::filesystem::permissions(path, std::filesystem::perms(0666));
  const std::string worker = workerForEveryone();
  const int same = unprivileged(directory_, [&] {
    TagWriter writer(worker);
    const Edit edit = Edit::setField("title", "T");
    const WriteOptions safe = {.safe = true};
    const Outcome checked = writer.check(path, edit, safe);
    return checked.status() == Status::kCopyFailed &&
           checked.message() == writer.write(path, edit, safe).message();
  });
  EXPECT_TRUE(same);
}

TEST_F(Check, StartsNoWorkerThatCouldWrite) {
  const std::string path = directory_.copyOf("mp3_plain.mp3");
  TagWriter writer(script("never", "touch $0.started\nexec $WORKER \"$@\""));
  EXPECT_STATUS(Status::kWritten, writer.check(path, {Edit::setField("title", "T")}));
  EXPECT_FALSE(std::filesystem::exists(in(directory_, "never.started")));
}

}  // namespace
}  // namespace tagwriter::test

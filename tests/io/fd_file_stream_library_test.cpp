// The same edits of every test file through the file stream and through the library's own: what
// they leave has to be equal byte for byte.
#include <fileref.h>
#include <gtest/gtest.h>
#include <tfilestream.h>
#include <tpropertymap.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "io/fd_file_stream.h"
#include "protocol/keys.h"
#include "protocol/value_dictionary.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

using TagLib::FDFileStream;
using TagLib::FileRef;
using TagLib::IOStream;
using TagLib::PropertyMap;
using TagLib::String;
using TagLib::Tag;

/// The test files of which the library, as it comes, makes no file object.
const std::set<std::string> kUnknownToTheLibrary = {
    "ac3.ac3",
    "au.au",
    "dsf_plain.dsf",
    "dsf_pointer_at_end.dsf",
    "dsf_pointer_beyond_end.dsf",
    "dsf_tagged.dsf",
    "vgm.vgm",
};

/// The test files that the library cannot read any more once it has written them: in an Ogg FLAC
/// stream it drops the mark of the last metadata block from the comment that it writes, and these
/// have no block behind the comment. It goes on well as long as one file object lives.
const std::set<std::string> kReadableOnlyOnce = {"flac.oga", "oggflac_named.ogg"};

struct Edit {
  const char* name;
  std::function<void(FileRef&)> make;
};

void setEverything(Tag& tag, const String& text, unsigned int number) {
  tag.setTitle(text);
  tag.setArtist(text);
  tag.setAlbum(text);
  tag.setGenre(text);
  tag.setComment(text);
  tag.setYear(number);
  tag.setTrack(number);
}

PropertyMap manyProperties() {
  PropertyMap properties;
  for (int i = 0; i < 50; ++i) {
    const std::string number = std::to_string(i);
    properties.insert("KEY" + number, String("value of key " + number + std::string(100, 'v')));
  }
  return properties;
}

/// Each makes the file grow or shrink in another way: within one buffer, by several, and back.
const std::vector<Edit> kEdits = {
    {"short values", [](FileRef& file) { setEverything(*file.tag(), "Jazz", 1999); }},
    {"long comment", [](FileRef& file) { file.tag()->setComment(std::string(20000, 'c')); }},
    {"longer title", [](FileRef& file) { file.tag()->setTitle(std::string(3000, 't')); }},
    {"shorter comment", [](FileRef& file) { file.tag()->setComment("short"); }},
    {"no values", [](FileRef& file) { setEverything(*file.tag(), String(), 0); }},
    {"many properties", [](FileRef& file) { file.file()->setProperties(manyProperties()); }},
    {"no properties", [](FileRef& file) { file.file()->setProperties(PropertyMap()); }},
};

/// A player that truncates as it is asked to.
class ObligingPlayer final : public TruncationConnection {
 public:
  std::optional<std::string> truncate(int fd, std::uint64_t size) override {
    EXPECT_EQ(::ftruncate(fd, static_cast<off_t>(size)), 0);
    return std::nullopt;
  }
};

class FDFileStreamLibrary : public testing::TestWithParam<std::string> {
 protected:
  FDFileStreamLibrary() { request_.set(key::kTruncateConnection, BorrowedFd{0}); }

  std::unique_ptr<IOStream> openOurs(const Dictionary* request = nullptr) {
    return std::make_unique<FDFileStream>(openFile(ours_).release(), ours_.c_str(), request);
  }
  std::unique_ptr<IOStream> openTheirs() const {
    return std::make_unique<TagLib::FileStream>(theirs_.c_str());
  }

  static bool known() { return kUnknownToTheLibrary.count(GetParam()) == 0; }

  /// Both files after everything pending has been written.
  void expectEqualFiles() const {
    std::fflush(nullptr);
    EXPECT_TRUE(readFile(ours_) == readFile(theirs_));
  }

  LogCapture log_;
  TemporaryDirectory ourDirectory_;
  TemporaryDirectory theirDirectory_;
  const std::string before_ = readFile(dataFile(GetParam()));
  const std::string ours_ = ourDirectory_.copyOf(GetParam());
  const std::string theirs_ = theirDirectory_.copyOf(GetParam());
  ValueDictionary request_{[](int) { return std::make_unique<ObligingPlayer>(); }};
};

TEST_P(FDFileStreamLibrary, LeavesTheSameFileWhenEachEditHasAStreamOfItsOwn) {
  std::set<std::string> results = {before_};
  std::size_t longest = 0;
  for (const Edit& edit : kEdits) {
    SCOPED_TRACE(edit.name);
    const bool readable = known() && (results.size() == 1 || !kReadableOnlyOnce.count(GetParam()));
    for (const bool isOurs : {true, false}) {
      const auto stream = isOurs ? openOurs() : openTheirs();
      FileRef file(stream.get());
      ASSERT_EQ(file.isNull(), !readable);
      if (!readable) continue;
      edit.make(file);
      EXPECT_TRUE(file.save());
    }
    expectEqualFiles();
    results.insert(readFile(ours_));
    longest = std::max(longest, readFile(ours_).size());
  }
  EXPECT_EQ(log_.text(), "");

  // That there was something to compare.
  if (!known()) {
    EXPECT_EQ(results.size(), 1u);
  } else if (kReadableOnlyOnce.count(GetParam())) {
    EXPECT_EQ(results.size(), 2u);
  } else {
    EXPECT_GT(results.size(), 4u);
    EXPECT_GT(longest, before_.size() + 19000);
  }
}

TEST_P(FDFileStreamLibrary, LeavesTheSameFileWhenOneStreamTakesAllEdits) {
  const auto ours = openOurs(&request_);
  const auto theirs = openTheirs();
  FileRef ourFile(ours.get());
  FileRef theirFile(theirs.get());
  ASSERT_EQ(ourFile.isNull(), !known());
  ASSERT_EQ(theirFile.isNull(), !known());
  if (!known()) return;
  for (const Edit& edit : kEdits) {
    SCOPED_TRACE(edit.name);
    edit.make(ourFile);
    edit.make(theirFile);
    EXPECT_TRUE(ourFile.save());
    EXPECT_TRUE(theirFile.save());
    expectEqualFiles();
  }
  EXPECT_EQ(log_.text(), "");
}

INSTANTIATE_TEST_SUITE_P(TestData, FDFileStreamLibrary, testing::ValuesIn(audioFileNames()),
                         [](const auto& file) {
                           std::string name = file.param;
                           std::replace(name.begin(), name.end(), '.', '_');
                           return name;
                         });

}  // namespace
}  // namespace tagwriter::test

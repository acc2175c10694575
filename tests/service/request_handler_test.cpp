// Requests as the transport hands them over: what is done, and what happens to the descriptor.
#include "service/request_handler.h"

#include <fcntl.h>
#include <fileref.h>
#include <gtest/gtest.h>
#include <tag.h>
#include <unistd.h>

#include <functional>

#include "protocol/fields.h"
#include "protocol/keys.h"
#include "protocol/value_dictionary.h"
#include "tests/support/descriptors.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

class RequestHandler : public testing::Test {
 protected:
  RequestHandler() { setUpOnce(); }

  /// A request to change `key` of the copy, with these track values.
  ValueDictionary change(const char* key, ValueDictionary track) const {
    ValueDictionary request;
    request.set(key::kFd, BorrowedFd{file_.get()});
    request.set(key::kPath, path_);
    request.set(key::kChangedTag, key);
    request.set(key::kTrack, std::move(track));
    return request;
  }
  static ValueDictionary track(const char* key, ValueDictionary::Value value) {
    ValueDictionary track;
    track.set(key, std::move(value));
    return track;
  }
  bool fileIsUnchanged() const { return readFile(path_) == readFile(dataFile("mp3_id3v23.mp3")); }

  TemporaryDirectory directory_;
  std::string path_ = directory_.copyOf("mp3_id3v23.mp3");
  UniqueFd file_ = openFile(path_);
  std::size_t descriptorsBefore_ = countDescriptors();
};

TEST_F(RequestHandler, WritesTheChangedFieldAndClosesItsDuplicate) {
  EXPECT_TRUE(handleRequest(change("title", track("title", "New"))));
  EXPECT_EQ(countDescriptors(), descriptorsBefore_);
  EXPECT_TRUE(isOpen(file_.get())) << "the caller's own descriptor";
  EXPECT_EQ(TagLib::FileRef(path_.c_str()).tag()->title(), "New");
}

TEST_F(RequestHandler, WritesEveryCoreField) {
  EXPECT_TRUE(handleRequest(change("title", track("title", "T\xc3\xa4"))));
  EXPECT_TRUE(handleRequest(change("artist", track("artist", "Ar"))));
  EXPECT_TRUE(handleRequest(change("album", track("album", "Al"))));
  EXPECT_TRUE(handleRequest(change("genre", track("genre", "Gezirpe"))));
  EXPECT_TRUE(handleRequest(change("year", track("year", std::int64_t{2024}))));
  const TagLib::FileRef ref(path_.c_str());
  EXPECT_EQ(ref.tag()->title().to8Bit(true), "T\xc3\xa4");
  EXPECT_EQ(ref.tag()->artist(), "Ar");
  EXPECT_EQ(ref.tag()->album(), "Al");
  EXPECT_EQ(ref.tag()->genre(), "Gezirpe");
  EXPECT_EQ(ref.tag()->year(), 2024u);
}

TEST_F(RequestHandler, ReadsOnlyTheChangedFieldFromTheTrack) {
  ValueDictionary values = track("title", "New");
  values.set("artist", "Somebody else");
  const auto artistBefore = TagLib::FileRef(path_.c_str()).tag()->artist();
  EXPECT_TRUE(handleRequest(change("title", std::move(values))));
  EXPECT_EQ(TagLib::FileRef(path_.c_str()).tag()->artist(), artistBefore);
}

TEST_F(RequestHandler, ClearsAFieldWhoseValueIsAbsentOrOfAnotherType) {
  EXPECT_TRUE(handleRequest(change("title", {})));
  EXPECT_EQ(TagLib::FileRef(path_.c_str()).tag()->title(), "");
  EXPECT_TRUE(handleRequest(change("album", track("album", std::int64_t{7}))));
  EXPECT_EQ(TagLib::FileRef(path_.c_str()).tag()->album(), "");
  EXPECT_TRUE(handleRequest(change("year", track("year", "1999"))));
  EXPECT_EQ(TagLib::FileRef(path_.c_str()).tag()->year(), 0u);
}

TEST_F(RequestHandler, KeepsTheLow32BitsOfTheYear) {
  EXPECT_TRUE(handleRequest(change("year", track("year", std::int64_t{(1LL << 32) + 1987}))));
  EXPECT_EQ(TagLib::FileRef(path_.c_str()).tag()->year(), 1987u);
}

TEST_F(RequestHandler, RefusesAnUnknownFieldAndClosesItsDuplicate) {
  const LogCapture log;
  for (const char* key : {"Title", "totalNumberOfDiscs", "", "nothing"}) {
    EXPECT_FALSE(handleRequest(change(key, track("title", "New")))) << key;
    EXPECT_EQ(countDescriptors(), descriptorsBefore_) << key;
  }
  ValueDictionary nameless = change("title", track("title", "New"));
  nameless.remove(key::kChangedTag);
  EXPECT_FALSE(handleRequest(nameless));
  EXPECT_EQ(countDescriptors(), descriptorsBefore_);
  EXPECT_TRUE(fileIsUnchanged());
  EXPECT_EQ(log.text(), "");
}

TEST_F(RequestHandler, LeavesTheDuplicateOpenWithoutATrackDictionary) {
  ValueDictionary request = change("title", {});
  request.remove(key::kTrack);
  EXPECT_FALSE(handleRequest(request));
  EXPECT_EQ(countDescriptors(), descriptorsBefore_ + 1);
  request.set(key::kTrack, "title");
  EXPECT_FALSE(handleRequest(request));
  EXPECT_EQ(countDescriptors(), descriptorsBefore_ + 2);
  EXPECT_TRUE(fileIsUnchanged());
}

TEST_F(RequestHandler, DoesNothingWithoutADescriptor) {
  ValueDictionary request = change("title", track("title", "New"));
  request.remove(key::kFd);
  EXPECT_FALSE(handleRequest(request));
  request.set(key::kFd, "3");
  EXPECT_FALSE(handleRequest(request));
  request.set(key::kFd, BorrowedFd{-1});
  EXPECT_FALSE(handleRequest(request));
  EXPECT_EQ(countDescriptors(), descriptorsBefore_);
}

TEST_F(RequestHandler, RefusesWhatIsNoRegularFileAndClosesItsDuplicate) {
  // The pipe is empty and its writer open: reading from it would not come back.
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
  const UniqueFd reader(ends[0]);
  const UniqueFd writer(ends[1]);
  const std::size_t before = countDescriptors();
  ValueDictionary request = change("title", track("title", "New"));
  request.set(key::kFd, BorrowedFd{reader.get()});
  EXPECT_FALSE(handleRequest(request));
  EXPECT_EQ(countDescriptors(), before);
}

TEST_F(RequestHandler, RefusesADescriptorForAppendAndClosesItsDuplicate) {
  const UniqueFd appending(::open(path_.c_str(), O_RDWR | O_APPEND | O_CLOEXEC));
  const std::size_t before = countDescriptors();
  ValueDictionary request = change("title", track("title", std::string(3000, 'x')));
  request.set(key::kFd, BorrowedFd{appending.get()});
  EXPECT_FALSE(handleRequest(request));
  EXPECT_EQ(countDescriptors(), before);
  EXPECT_TRUE(fileIsUnchanged());
}

TEST_F(RequestHandler, RefusesADescriptorForWritingOnlyAndClosesItsDuplicate) {
  const LogCapture log;
  const UniqueFd writing(::open(path_.c_str(), O_WRONLY | O_CLOEXEC));
  const std::size_t before = countDescriptors();
  const std::byte image[] = {std::byte{0x89}, std::byte{'P'}};
  ValueDictionary cover;
  cover.set(key::kPath, path_);
  cover.set(key::kArtwork, std::span(image));
  ValueDictionary clearing;
  clearing.set(key::kPath, path_);
  clearing.set(key::kClearArtwork, true);
  for (ValueDictionary request :
       {change("title", track("title", "New")), change("composer", track("composer", "New")),
        change("cueSheet", track("cueSheet", "New")), std::move(cover), std::move(clearing)}) {
    request.set(key::kFd, BorrowedFd{writing.get()});
    for (const char* name : {"song.mp3", "song.oga", "song.xyz"}) {
      request.set(key::kPath, std::string(name));
      EXPECT_FALSE(handleRequest(request)) << name;
      EXPECT_EQ(countDescriptors(), before) << name;
    }
  }
  EXPECT_TRUE(fileIsUnchanged());
}

/// A dictionary that answers with a descriptor of the test's choice.
class DescriptorRequest final : public Dictionary {
 public:
  DescriptorRequest(const Dictionary& rest, int fd) : rest_(rest), fd_(fd) {}
  const char* getString(const char* key) const override { return rest_.getString(key); }
  std::int64_t getInt64(const char* key) const override { return rest_.getInt64(key); }
  double getDouble(const char* key) const override { return rest_.getDouble(key); }
  bool getBool(const char* key) const override { return rest_.getBool(key); }
  std::optional<std::span<const std::byte>> getData(const char* key) const override {
    return rest_.getData(key);
  }
  const Dictionary* getDictionary(const char* key) const override {
    return rest_.getDictionary(key);
  }
  UniqueFd duplicateDescriptor(const char*) const override { return UniqueFd(fd_); }
  std::unique_ptr<TruncationConnection> createTruncationConnection(const char*) const override {
    return nullptr;
  }

 private:
  const Dictionary& rest_;
  int fd_;
};

TEST_F(RequestHandler, TakesDescriptorZeroForNoneAndLeavesItOpen) {
  const ValueDictionary request = change("title", track("title", "New"));
  EXPECT_FALSE(handleRequest(DescriptorRequest(request, 0)));
  EXPECT_TRUE(isOpen(0));
  EXPECT_TRUE(fileIsUnchanged());
}

TEST_F(RequestHandler, LogsAFileThatTheLibraryCannotRead) {
  const std::string path = directory_.write("noise.xyz", "this is no audio at all");
  const UniqueFd noise = openFile(path);
  const std::size_t before = countDescriptors();
  const std::string start = "Failed to write ";
  const std::string middle = " tag to file. TagLib could not read the file at ";
  for (const char* name : {"title", "artist", "album", "genre", "year"}) {
    const LogCapture log;
    ValueDictionary request = change(name, {});
    request.set(key::kFd, BorrowedFd{noise.get()});
    request.set(key::kPath, path);
    EXPECT_FALSE(handleRequest(request));
    EXPECT_EQ(log.text(), start + name + middle + path + "\n");
  }
  EXPECT_EQ(countDescriptors(), before);
  EXPECT_EQ(readFile(path), "this is no audio at all");
}

TEST_F(RequestHandler, LogsAMissingPathAsNull) {
  const UniqueFd noise = openFile(directory_.write("noise", "this is no audio at all"));
  ValueDictionary request = change("title", {});
  request.set(key::kFd, BorrowedFd{noise.get()});
  request.remove(key::kPath);
  const LogCapture log;
  EXPECT_FALSE(handleRequest(request));
  EXPECT_EQ(log.text(),
            "Failed to write title tag to file. TagLib could not read the file at (null)\n");
}

TEST_F(RequestHandler, FindsTheFormatByContentWhenThereIsNoPath) {
  ValueDictionary request = change("title", track("title", "Nameless"));
  request.remove(key::kPath);
  EXPECT_TRUE(handleRequest(request));
  EXPECT_EQ(TagLib::FileRef(path_.c_str()).tag()->title(), "Nameless");
}

}  // namespace
}  // namespace tagwriter::test

// Requests as the transport passes them on: what is done, and what happens to the descriptor.
#include "service/request_handler.h"

#include <attachedpictureframe.h>
#include <fcntl.h>
#include <fileref.h>
#include <gtest/gtest.h>
#include <id3v2tag.h>
#include <mpegfile.h>
#include <tpropertymap.h>
#include <unistd.h>

#include <functional>

#include "protocol/keys.h"
#include "protocol/value_dictionary.h"
#include "tests/support/descriptors.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

constexpr std::byte kImage[] = {std::byte{1}, std::byte{2}, std::byte{3}};

class RequestHandler : public testing::Test {
 protected:
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
  std::string valueOf(const char* property) const {
    return TagLib::FileRef(path_.c_str()).file()->properties()[property].toString().to8Bit(true);
  }
  /// The MIME types of the pictures, each with a comma.
  std::string pictures() const {
    TagLib::MPEG::File file(path_.c_str(), false);
    std::string types;
    for (const auto* frame : file.ID3v2Tag()->frameList("APIC")) {
      const auto* picture = dynamic_cast<const TagLib::ID3v2::AttachedPictureFrame*>(frame);
      types += picture->mimeType().to8Bit() + ",";
    }
    return types;
  }

  TemporaryDirectory directory_;
  std::string path_ = directory_.copyOf("mp3_id3v23.mp3");
  UniqueFd file_ = openFile(path_);
  std::size_t descriptorsBefore_ = (setUpOnce(), countDescriptors());
};

TEST_F(RequestHandler, WritesOnlyTheChangedFieldAndClosesItsDuplicate) {
  ValueDictionary values;
  for (const char* key : {"title", "artist", "album", "genre"}) values.set(key, "N\xc3\xa4");
  values.set("year", (1LL << 32) + 1987);  // of which the low 32 bits are taken
  const std::pair<const char*, const char*> fields[] = {{"title", "TITLE"},
                                                        {"artist", "ARTIST"},
                                                        {"album", "ALBUM"},
                                                        {"genre", "GENRE"},
                                                        {"year", "DATE"}};
  for (const auto& [key, property] : fields) {
    const std::string expected = key == std::string("year") ? "1987" : "N\xc3\xa4";
    EXPECT_NE(valueOf(property), expected);
    EXPECT_TRUE(handleRequest(change(key, values)));
    EXPECT_EQ(valueOf(property), expected);
  }
  EXPECT_EQ(countDescriptors(), descriptorsBefore_);
  EXPECT_TRUE(isOpen(file_.get())) << "the caller's own descriptor";
}

TEST_F(RequestHandler, ClearsAFieldWhoseValueIsAbsentOrOfAnotherType) {
  EXPECT_TRUE(handleRequest(change("title", {})));
  EXPECT_EQ(valueOf("TITLE"), "");
  EXPECT_TRUE(handleRequest(change("album", track("album", std::int64_t{7}))));
  EXPECT_EQ(valueOf("ALBUM"), "");
  EXPECT_TRUE(handleRequest(change("year", track("year", "1999"))));
  EXPECT_EQ(valueOf("DATE"), "");
}

TEST_F(RequestHandler, PrefersArtworkToClearingAndClearingToAField) {
  ValueDictionary request = change("title", track("title", "New"));
  request.set(key::kClearArtwork, true);
  request.set(key::kArtwork, std::span(kImage));
  request.set(key::kArtworkType, std::int64_t{4});
  request.set(key::kReplaceArtwork, true);
  EXPECT_TRUE(handleRequest(request));
  EXPECT_EQ(pictures(), "image/gif,");
  request.remove(key::kArtwork);
  EXPECT_TRUE(handleRequest(request));
  EXPECT_EQ(pictures(), "");
  EXPECT_EQ(valueOf("TITLE"), "Rising Tone");
  request.set(key::kClearArtwork, false);
  EXPECT_TRUE(handleRequest(request));
  EXPECT_EQ(valueOf("TITLE"), "New");
  EXPECT_EQ(countDescriptors(), descriptorsBefore_);
}

TEST_F(RequestHandler, OpensFilesByNameOrContentAndKnowsDsf) {
  ValueDictionary request = change("title", track("title", "Nameless"));
  request.remove(key::kPath);
  EXPECT_TRUE(handleRequest(request));
  EXPECT_EQ(valueOf("TITLE"), "Nameless");

  const UniqueFd dsf = openFile(directory_.copyOf("dsf_plain.dsf"));
  request.set(key::kFd, BorrowedFd{dsf.get()});
  request.set(key::kPath, std::string("song.dsf"));
  EXPECT_TRUE(handleRequest(request));
}

TEST_F(RequestHandler, RefusesWhatItCannotDoAndClosesItsDuplicate) {
  int ends[2];  // an empty pipe with an open writer: reading would block forever
  ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
  const UniqueFd reader(ends[0]);
  const UniqueFd writer(ends[1]);
  const UniqueFd appending = openFile(path_, O_RDWR | O_APPEND);
  const UniqueFd writing = openFile(path_, O_WRONLY);

  const auto with = [this](const char* key, std::optional<ValueDictionary::Value> value) {
    ValueDictionary request = change("title", track("title", std::string(3000, 'x')));
    value ? request.set(key, *value) : request.remove(key);
    return request;
  };
  std::vector<ValueDictionary> refused = {
      with(key::kFd, {}),
      with(key::kFd, "3"),
      with(key::kFd, BorrowedFd{-1}),
      with(key::kFd, BorrowedFd{reader.get()}),
      with(key::kFd, BorrowedFd{appending.get()}),
      with(key::kChangedTag, {}),
  };
  for (const char* key : {"Title", "totalNumberOfDiscs", "", "nothing"}) {
    refused.push_back(with(key::kChangedTag, key));
  }
  for (ValueDictionary request :
       {with(key::kChangedTag, "title"), with(key::kChangedTag, "composer"),
        with(key::kChangedTag, "cueSheet"), with(key::kArtwork, std::span(kImage)),
        with(key::kClearArtwork, true)}) {
    request.set(key::kFd, BorrowedFd{writing.get()});
    for (const char* name : {"song.mp3", "song.oga", "song.xyz"}) {
      request.set(key::kPath, std::string(name));
      refused.push_back(request);
    }
  }
  const LogCapture log;  // some writers log that they cannot open the file
  const std::size_t before = countDescriptors();
  for (std::size_t i = 0; i < refused.size(); ++i) {
    EXPECT_FALSE(handleRequest(refused[i])) << i;
    EXPECT_EQ(countDescriptors(), before) << i;
  }

  // Quirk: without a track nothing takes the duplicate over, and it stays open.
  EXPECT_FALSE(handleRequest(with(key::kTrack, {})));
  EXPECT_FALSE(handleRequest(with(key::kTrack, "title")));
  EXPECT_EQ(countDescriptors(), before + 2);
  EXPECT_EQ(readFile(path_), readFile(dataFile("mp3_id3v23.mp3")));
}

/// A dictionary whose every descriptor has the number 0.
class RequestWithDescriptor0 final : public Dictionary {
 public:
  const char* getString(const char*) const override { return "title"; }
  std::int64_t getInt64(const char*) const override { return 0; }
  double getDouble(const char*) const override { return 0; }
  bool getBool(const char*) const override { return false; }
  std::optional<std::span<const std::byte>> getData(const char*) const override { return {}; }
  const Dictionary* getDictionary(const char*) const override { return this; }
  UniqueFd duplicateDescriptor(const char*) const override { return UniqueFd(0); }
  std::unique_ptr<TruncationConnection> createTruncationConnection(const char*) const override {
    return nullptr;
  }
};

TEST_F(RequestHandler, TakesDescriptor0ForNoneAndLeavesItOpen) {
  const UniqueFd saved = duplicateFd(0);
  ::dup2(file_.get(), 0);  // a file that could be written
  EXPECT_FALSE(handleRequest(RequestWithDescriptor0()));
  EXPECT_TRUE(isOpen(0));
  ::dup2(saved.get(), 0);
  EXPECT_EQ(readFile(path_), readFile(dataFile("mp3_id3v23.mp3")));
}

}  // namespace
}  // namespace tagwriter::test

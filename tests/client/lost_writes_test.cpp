// Bytes that do not reach the file: the library that writes the tags never hears of it, and its
// answer is true. What a full disk does, a limit on the size of files does here.
#include <sys/resource.h>

#include "tests/client/client_test.h"
#include "tests/client/file_state.h"
#include "tests/client/system_calls.h"

namespace tagwriter::test {
namespace {

/// For its life, files cannot grow beyond `size` bytes, here and in workers that are started now.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t size) {
    ::getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit = {size, before_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &before_); }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit before_{};
};

class LostWrites : public ClientTest, public testing::WithParamInterface<const char*> {
 protected:
  Outcome store(const WriteOptions& options) {
    const FileSizeLimit limit(readFile(path_).size() + 8192);
    const std::vector<std::byte> image(300'000, std::byte{'i'});
    return writer_.write(path_, Edit::setCover(image, ImageType::kPNG, true), options);
  }

  std::string path_ = directory_.copyOf(GetParam());
};

TEST_P(LostWrites, AreToldInPlace) {
  EXPECT_STATUS(Status::kIncomplete, store({}));
}

TEST_P(LostWrites, LeaveTheFileAsItIsInSafeMode) {
  const FileState before = stateOf(path_);
  EXPECT_STATUS(Status::kIncomplete, store({.safe = true}));
  EXPECT_EQ(stateOf(path_), before);
  EXPECT_EQ(namesIn(directory_.path()), std::vector<std::string>{GetParam()});
}

TEST_P(LostWrites, AreNotHiddenBehindTheOldTime) {
  setTimes(path_, {1, 0}, {1, 0});
  EXPECT_STATUS(Status::kIncomplete, store({.keepTimes = true}));
  EXPECT_NE(stateOf(path_).modified, 1'000'000'000);
}

TEST_P(LostWrites, AreThoseOfOneRequest) {
  EXPECT_STATUS(Status::kIncomplete, store({.safe = true}));
  // The same worker, which still has the limit.
  EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "title", std::string("T")));
}

INSTANTIATE_TEST_SUITE_P(In, LostWrites,
                         testing::Values("mp3_plain.mp3", "flac_plain.flac", "m4a_plain.m4a",
                                         "vorbis_plain.ogg", "opus_plain.opus", "wma_plain.wma",
                                         "aiff_plain.aiff", "wav_plain.wav", "ape_plain.ape",
                                         "wavpack_plain.wv", "mpc_plain.mpc", "dsf_plain.dsf"),
                         [](const auto& info) {
                           std::string name = info.param;
                           return name.substr(0, name.find('.'));
                         });

}  // namespace
}  // namespace tagwriter::test

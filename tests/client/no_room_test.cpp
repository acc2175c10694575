// No room for what an edit adds, as on a full disk; here because of a file size limit.
#include "tests/client/client_test.h"
#include "tests/client/file_state.h"
#include "tests/support/size_limit.h"

namespace tagwriter::test {
namespace {

class NoRoom : public ClientTest, public testing::WithParamInterface<const char*> {};

TEST_P(NoRoom, LeavesTheFileAsItWas) {
  const std::string path = directory_.copyOf(GetParam());
  setTimes(path, {1, 0}, {1, 0});
  const FileState before = stateOf(path);
  const SizeLimit limit(before.bytes.size() + 8192);
  const std::vector<std::byte> image(300'000, std::byte{'i'});
  const Edit cover = Edit::setCover(image, ImageType::kPNG, true);
  for (const bool safe : {true, false}) {
    EXPECT_STATUS(Status::kNoSpace, writer_.write(path, cover, {.safe = safe, .keepTimes = true}));
    EXPECT_EQ(stateOf(path), before);
    EXPECT_EQ(namesIn(directory_.path()), std::vector<std::string>{GetParam()});
  }
  EXPECT_STATUS(Status::kWritten, writer_.setField(path, "title", std::string("T")));
}

INSTANTIATE_TEST_SUITE_P(In, NoRoom,
                         testing::Values("mp3_plain.mp3", "flac_plain.flac", "m4a_plain.m4a",
                                         "vorbis_plain.ogg", "opus_plain.opus", "wma_plain.wma",
                                         "aiff_plain.aiff", "wav_plain.wav", "ape_plain.ape",
                                         "wavpack_plain.wv", "mpc_plain.mpc", "dsf_plain.dsf"),
                         [](const auto& info) {
                           const std::string name = info.param;
                           return name.substr(0, name.find('.'));
                         });

}  // namespace
}  // namespace tagwriter::test

// What is rejected before a request is sent, and the exact limits.
#include "client/preflight.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "protocol/keys.h"
#include "tests/client/client_test.h"
#include "tests/client/file_state.h"
#include "tests/support/descriptors.h"

namespace tagwriter::test {
namespace {

constexpr std::uint64_t kMax32Bit = 0xffffffff;
constexpr std::uint64_t kMaxRequest = std::uint64_t{64} << 20;

class OpenForEdit : public testing::Test {
 protected:
  Outcome open(const AudioFile& file) {
    const std::size_t before = countDescriptors();
    UniqueFd fd;
    const Outcome outcome = openForEdit(file, fd);
    if (outcome) {
      EXPECT_NE(fd.get(), file.fd().value_or(-1));
    }
    fd.reset();
    EXPECT_EQ(countDescriptors(), before);
    return outcome;
  }
  Outcome openWith(int flags) {
    const UniqueFd file = openFile(path_, flags);
    return open({file.get(), path_});
  }

  TemporaryDirectory directory_;
  std::string path_ = directory_.copyOf("mp3_plain.mp3");
};

TEST_F(OpenForEdit, NeverUsesTheNumberOfAStandardStream) {
  UniqueFd fd;
  withoutStandardStreams([&] { EXPECT_STATUS(Status::kWritten, openForEdit(path_, fd)); });
  EXPECT_GT(fd.get(), STDERR_FILENO);
}

TEST_F(OpenForEdit, ChecksThePath) {
  const std::string fifo = in(directory_, "fifo.mp3");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const std::string socket = in(directory_, "socket.mp3");
  const UniqueFd bound(::socket(AF_UNIX, SOCK_STREAM, 0));
  sockaddr_un address{AF_UNIX, {}};
  socket.copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(::bind(bound.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  std::filesystem::create_symlink("loop.mp3", in(directory_, "loop.mp3"));

  EXPECT_STATUS(Status::kWritten, open(path_));
  for (const std::string& path :
       {in(directory_, "missing.mp3"), path_ + "/below.mp3", std::string(),
        in(directory_, "loop.mp3"), in(directory_, std::string(300, 'x'))}) {
    EXPECT_STATUS(Status::kNotFound, open(path)) << path;
  }
  for (const std::string& path :
       {directory_.path().string(), fifo, socket, std::string("/dev/null")}) {
    EXPECT_STATUS(Status::kNotRegularFile, open(path)) << path;
  }
  EXPECT_EQ(open(in(directory_, "missing.mp3")).detail(), "No such file or directory");
}

TEST_F(OpenForEdit, ChecksThePermissions) {
  std::filesystem::permissions(path_, std::filesystem::perms(0444));
  const int status = unprivileged(directory_, [this] {
    UniqueFd fd;
    return static_cast<int>(openForEdit(path_, fd).status());
  });
  EXPECT_EQ(status, static_cast<int>(Status::kNotWritable));
}

TEST_F(OpenForEdit, ChecksTheDescriptor) {
  EXPECT_STATUS(Status::kWritten, openWith(O_RDWR));
  EXPECT_STATUS(Status::kNotWritable, openWith(O_RDONLY));
  EXPECT_STATUS(Status::kNotWritable, openWith(O_WRONLY));
  EXPECT_STATUS(Status::kNotWritable, openWith(O_PATH));
  EXPECT_STATUS(Status::kOpenedForAppend, openWith(O_RDWR | O_APPEND));
  const UniqueFd directory = openFile(directory_.path(), O_RDONLY | O_DIRECTORY);
  EXPECT_STATUS(Status::kNotRegularFile, open({directory.get(), path_}));
  const UniqueFd file = openFile(path_);
  EXPECT_STATUS(Status::kWritten, open({file.get(), "/only/a/name.mp3"}));
  EXPECT_TRUE(isOpen(file.get()));
}

class CheckRequest : public testing::Test {
 protected:
  /// The outcome for a sparse file of this name and size.
  Outcome check(const std::string& name, std::uint64_t size, const ValueDictionary& request) {
    const std::string path = in(directory_, name);
    makeSparse(path, size);
    return checkRequest(openFile(path).get(), path, request);
  }
  std::uint64_t sizeWithPath(const std::string& name, const ValueDictionary& request) const {
    return wireSizeOf(request) + in(directory_, name).size();
  }

  TemporaryDirectory directory_;
};

ValueDictionary artworkOf(std::span<const std::byte> cover) {
  ValueDictionary request;
  request.set(key::kArtwork, cover);
  return request;
}

TEST_F(CheckRequest, RejectsRequestsTooLargeForTheWire) {
  // Nothing reads the cover, so it can stay uninitialized.
  const std::unique_ptr<std::byte[]> memory(new std::byte[kMaxRequest]);
  const std::uint64_t overhead = sizeWithPath("song.mp3", artworkOf({}));
  const auto ofSize = [&](std::uint64_t size) {
    return check("song.mp3", 0, artworkOf({memory.get(), size - overhead}));
  };
  EXPECT_STATUS(Status::kRequestTooLarge, ofSize(kMaxRequest - 1));
  EXPECT_STATUS(Status::kWritten, ofSize(kMaxRequest - 2048));
}

TEST_F(CheckRequest, CountsEveryPartOfARequest) {
  const std::string text(1000, 'x');
  const auto sizeOf = [](const ValueDictionary::Value& value) {
    ValueDictionary request;
    request.set("key", value);
    return wireSizeOf(request);
  };
  ValueDictionary nested;
  nested.set("title", text);
  EXPECT_GT(sizeOf(std::make_shared<const ValueDictionary>(nested)), 1000 + 5 + 3);
  EXPECT_GT(sizeOf(text), 1000 + 3);
  EXPECT_GT(sizeOf(ByteString{text}), 1000 + 3);
  EXPECT_GT(sizeOf(std::as_bytes(std::span(text))), 1000 + 3);
  // An entry's padding, key, signature and value.
  EXPECT_GE(sizeOf(std::int64_t{0}), 8 + 4 + 3 + 1 + 3 + 8);
  EXPECT_LT(sizeOf(std::int64_t{0}), 100);
}

TEST_F(CheckRequest, RejectsWavAndAiffFilesThatWouldExceed32Bits) {
  const std::unique_ptr<std::byte[]> memory(new std::byte[1 << 20]);
  const ValueDictionary request = artworkOf({memory.get(), 1 << 20});
  for (const char* name : {"a.wav", "a.WAV", "a.aiff", "a.aif", "a.AIF"}) {
    SCOPED_TRACE(name);
    const std::uint64_t largest = kMax32Bit - sizeWithPath(name, request);
    EXPECT_STATUS(Status::kFileTooLarge, check(name, largest + 1, request));
    EXPECT_STATUS(Status::kFileTooLarge, check(name, kMax32Bit * 3, request));
    EXPECT_STATUS(Status::kWritten, check(name, largest, request));
  }
  for (const char* name : {"a.flac", "a.mp3", "a.dsf", "a.wma", "a.m4a", "a", "wav"}) {
    EXPECT_STATUS(Status::kWritten, check(name, kMax32Bit + 1, {})) << name;
  }
}

}  // namespace
}  // namespace tagwriter::test

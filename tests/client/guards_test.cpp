// What is refused before a request is sent, and where each limit lies.
#include "client/guards.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "protocol/keys.h"
#include "tests/client/client_test.h"
#include "tests/client/file_state.h"
#include "tests/support/descriptors.h"
#include "transport/dbus/peer_connection.h"

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
    opened_ = fd.get();
    fd.reset();
    EXPECT_EQ(countDescriptors(), before);
    return outcome;
  }
  /// The outcome for a descriptor that is opened with these flags.
  Outcome openWith(int flags) {
    const UniqueFd file = openFile(path_, flags);
    return open({file.get(), path_});
  }

  TemporaryDirectory directory_;
  std::string path_ = directory_.copyOf("mp3_plain.mp3");
  int opened_ = -1;
};

TEST_F(OpenForEdit, TakesAFileByPath) {
  EXPECT_STATUS(Status::kWritten, open(path_));
  EXPECT_GE(opened_, 3);
}

TEST_F(OpenForEdit, LeavesTheNumbersOfTheStandardStreamsAlone) {
  const UniqueFd input = duplicateFd(STDIN_FILENO);
  ASSERT_EQ(::close(STDIN_FILENO), 0);
  UniqueFd fd;
  const Outcome outcome = openForEdit(path_, fd);
  const dbus::SocketPair sockets = dbus::makeSocketPair();
  EXPECT_FALSE(isOpen(STDIN_FILENO));
  ASSERT_EQ(::dup2(input.get(), STDIN_FILENO), STDIN_FILENO);
  EXPECT_STATUS(Status::kWritten, outcome);
  EXPECT_GT(fd.get(), STDERR_FILENO);
  EXPECT_GT(sockets.ours.get(), STDERR_FILENO);
  EXPECT_GT(sockets.theirs.get(), STDERR_FILENO);
}

TEST_F(OpenForEdit, DuplicatesTheCallersDescriptor) {
  const UniqueFd file = openFile(path_);
  EXPECT_STATUS(Status::kWritten, open({file.get(), path_}));
  EXPECT_GE(opened_, 3);
  EXPECT_NE(opened_, file.get());
  EXPECT_TRUE(isOpen(file.get()));
}

TEST_F(OpenForEdit, ThePathIsOnlyANameWhenThereIsADescriptor) {
  const UniqueFd file = openFile(path_);
  EXPECT_STATUS(Status::kWritten, open({file.get(), "/nowhere/at/all.mp3"}));
}

TEST_F(OpenForEdit, SaysWhatIsWrongWithAPath) {
  const std::string fifo = in(directory_, "fifo.mp3");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const std::string socket = in(directory_, "socket.mp3");
  const UniqueFd bound(::socket(AF_UNIX, SOCK_STREAM, 0));
  sockaddr_un address{AF_UNIX, {}};
  socket.copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(::bind(bound.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  std::filesystem::create_symlink(directory_.path(), in(directory_, "directory.mp3"));
  std::filesystem::create_symlink("loop.mp3", in(directory_, "loop.mp3"));

  EXPECT_STATUS(Status::kNotFound, open(in(directory_, "missing.mp3")));
  EXPECT_STATUS(Status::kNotFound, open(path_ + "/below.mp3"));
  EXPECT_STATUS(Status::kNotFound, open(in(directory_, "loop.mp3")));
  EXPECT_STATUS(Status::kNotFound, open(in(directory_, std::string(300, 'x'))));
  EXPECT_STATUS(Status::kNotFound, open(""));
  EXPECT_STATUS(Status::kNotRegularFile, open(directory_.path().string()));
  EXPECT_STATUS(Status::kNotRegularFile, open(in(directory_, "directory.mp3")));
  EXPECT_STATUS(Status::kNotRegularFile, open(fifo));
  EXPECT_STATUS(Status::kNotRegularFile, open(socket));
  EXPECT_STATUS(Status::kNotRegularFile, open("/dev/null"));
  EXPECT_EQ(open(in(directory_, "missing.mp3")).detail, "No such file or directory");
}

TEST_F(OpenForEdit, SaysThatAFileIsNotWritable) {
  std::filesystem::permissions(path_, std::filesystem::perms(0444));
  EXPECT_EQ(unprivileged(directory_,
                         [this] {
                           UniqueFd fd;
                           return static_cast<int>(openForEdit(path_, fd).status);
                         }),
            static_cast<int>(Status::kNotWritable));
  EXPECT_STATUS(Status::kNotWritable, open("/sys/kernel/uevent_seqnum"));
}

TEST_F(OpenForEdit, SaysWhatIsWrongWithADescriptor) {
  EXPECT_STATUS(Status::kNotWritable, openWith(O_RDONLY));
  EXPECT_STATUS(Status::kNotWritable, openWith(O_WRONLY));
  EXPECT_STATUS(Status::kNotWritable, openWith(O_PATH));
  EXPECT_STATUS(Status::kOpenedForAppend, openWith(O_RDWR | O_APPEND));
  EXPECT_STATUS(Status::kWritten, openWith(O_RDWR));

  const dbus::SocketPair sockets = dbus::makeSocketPair();
  EXPECT_STATUS(Status::kNotRegularFile, open({sockets.ours.get(), path_}));
  const UniqueFd directory(::open(directory_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  EXPECT_STATUS(Status::kNotRegularFile, open({directory.get(), path_}));
  const int closed = ::dup(directory.get());
  ::close(closed);
  EXPECT_STATUS(Status::kNotFound, open({closed, path_}));
}

class CheckRequest : public testing::Test {
 protected:
  /// The outcome for a file of this name and size, which takes no room on the disk.
  Outcome check(const std::string& name, std::uint64_t size, const ValueDictionary& request) {
    const std::string path = in(directory_, name);
    makeSparse(path, size);
    const UniqueFd file = openFile(path);
    return checkRequest(file.get(), path, request);
  }
  std::uint64_t sizeWithPath(const std::string& name, const ValueDictionary& request) const {
    return wireSizeOf(request) + in(directory_, name).size();
  }

  TemporaryDirectory directory_;
};

ValueDictionary artworkOf(std::span<const std::byte> image) {
  ValueDictionary request;
  request.set(key::kArtwork, image);
  return request;
}

TEST_F(CheckRequest, RefusesWhatTheWireDoesNotTake) {
  // Nothing reads the image, so nothing needs to be in it.
  const std::unique_ptr<std::byte[]> memory(new std::byte[kMaxRequest]);
  const std::uint64_t overhead = sizeWithPath("song.mp3", artworkOf({}));
  const auto ofSize = [&](std::uint64_t size) {
    return check("song.mp3", 0, artworkOf({memory.get(), size - overhead}));
  };
  EXPECT_STATUS(Status::kRequestTooLarge, ofSize(kMaxRequest));
  EXPECT_STATUS(Status::kRequestTooLarge, ofSize(kMaxRequest - 1));
  // What the connection adds has to fit as well, but not much is given away for it.
  EXPECT_STATUS(Status::kWritten, ofSize(kMaxRequest - 2048));
}

TEST_F(CheckRequest, CountsEveryPartOfARequest) {
  const std::string text(1000, 'x');
  const auto bytes = std::as_bytes(std::span(text));
  const auto alone = [](const ValueDictionary::Value& value) {
    ValueDictionary request;
    request.set("key", value);
    return wireSizeOf(request);
  };
  ValueDictionary track;
  track.set("title", text);
  ValueDictionary nested;
  nested.set("track", std::move(track));
  EXPECT_GT(alone(text), 1000 + 3);
  EXPECT_GT(alone(ByteString{text}), 1000 + 3);
  EXPECT_GT(alone(bytes), 1000 + 3);
  EXPECT_GT(wireSizeOf(nested), 1000 + 5 + 5);
  // An entry's padding, signature and lengths.
  EXPECT_GE(alone(std::int64_t{0}), 8 + 4 + 3 + 1 + 3 + 8);
  EXPECT_LT(alone(std::int64_t{0}), 100);
  EXPECT_EQ(wireSizeOf({}), 0);
}

TEST_F(CheckRequest, RefusesFilesThatOutgrowTheirFormat) {
  ValueDictionary request;
  request.set(key::kClearArtwork, true);
  for (const char* name : {"a.wav", "a.WAV", "a.aiff", "a.aif", "a.AIF"}) {
    SCOPED_TRACE(name);
    const std::uint64_t largest = kMax32Bit - sizeWithPath(name, request);
    EXPECT_STATUS(Status::kWritten, check(name, largest, request));
    EXPECT_STATUS(Status::kFileTooLarge, check(name, largest + 1, request));
    EXPECT_STATUS(Status::kFileTooLarge, check(name, kMax32Bit + 1, request));
    EXPECT_STATUS(Status::kFileTooLarge, check(name, kMax32Bit * 3, request));
  }
}

TEST_F(CheckRequest, CountsTheImageTowardsTheSizeOfTheFile) {
  const std::unique_ptr<std::byte[]> memory(new std::byte[1 << 20]);
  const ValueDictionary request = artworkOf({memory.get(), 1 << 20});
  EXPECT_STATUS(Status::kFileTooLarge, check("a.wav", kMax32Bit - (1 << 20), request));
  EXPECT_STATUS(Status::kWritten, check("a.wav", kMax32Bit - (2 << 20), request));
}

TEST_F(CheckRequest, LetsOtherFormatsGrow) {
  for (const char* name : {"a.flac", "a.mp3", "a.dsf", "a.wma", "a.m4a", "a", "wav"}) {
    SCOPED_TRACE(name);
    EXPECT_STATUS(Status::kWritten, check(name, kMax32Bit + 1, {}));
  }
}

TEST_F(CheckRequest, SaysThatADescriptorIsNotOpen) {
  EXPECT_STATUS(Status::kNotFound, checkRequest(-1, "a.mp3", {}));
}

}  // namespace
}  // namespace tagwriter::test

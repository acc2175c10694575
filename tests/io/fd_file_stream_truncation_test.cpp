// Truncating: by the player when the request offers it, otherwise by the stream itself.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "io/fd_file_stream.h"
#include "protocol/keys.h"
#include "protocol/value_dictionary.h"
#include "tests/io/stream_file.h"
#include "tests/support/descriptors.h"
#include "tests/support/log_capture.h"

namespace tagwriter::test {
namespace {

using TagLib::FDFileStream;

struct TruncationCall {
  int fd;
  std::uint64_t size;
  bool operator==(const TruncationCall&) const = default;
};

/// The player's side: what it was asked for, and how it takes that.
struct FakePlayer {
  bool connects = true;
  bool truncates = true;
  std::optional<std::string> error;

  std::vector<int> endpoints;  // one for each attempt to connect
  std::vector<TruncationCall> calls;
  std::vector<off_t> sizesBefore;
  int connections = 0;  // open now

  /// A request that offers this player under `endpoint`.
  ValueDictionary request(int endpoint = 1234);
};

class FakeConnection final : public TruncationConnection {
 public:
  explicit FakeConnection(FakePlayer& player) : player_(player) { ++player_.connections; }
  ~FakeConnection() override { --player_.connections; }

  std::optional<std::string> truncate(int fd, std::uint64_t size) override {
    player_.calls.push_back({fd, size});
    player_.sizesBefore.push_back(::lseek(fd, 0, SEEK_END));
    if (player_.truncates) {
      EXPECT_EQ(::ftruncate(fd, static_cast<off_t>(size)), 0);
    }
    return player_.error;
  }

 private:
  FakePlayer& player_;
};

ValueDictionary FakePlayer::request(int endpoint) {
  ValueDictionary request([this](int fd) -> std::unique_ptr<TruncationConnection> {
    endpoints.push_back(fd);
    if (!connects) return nullptr;
    return std::make_unique<FakeConnection>(*this);
  });
  request.set(key::kTruncateConnection, BorrowedFd{endpoint});
  return request;
}

class FDFileStreamTruncation : public testing::Test {
 protected:
  const std::string before_ = patternOf(3000);
  const StreamFile file_{before_};
  const int descriptor_ = file_.open();
  FakePlayer player_;
  LogCapture log_;
};

TEST_F(FDFileStreamTruncation, IsDoneHereWithoutARequest) {
  FDFileStream stream(descriptor_, "", nullptr);
  stream.truncate(100);
  EXPECT_EQ(file_.bytes(), before_.substr(0, 100));
  EXPECT_EQ(stream.length(), 100);
  EXPECT_EQ(log_.text(), "");
}

TEST_F(FDFileStreamTruncation, CanMakeTheFileLonger) {
  FDFileStream(descriptor_, "", nullptr).truncate(3100);
  EXPECT_EQ(file_.bytes(), before_ + std::string(100, '\0'));
}

TEST_F(FDFileStreamTruncation, LeavesThePositionWhereItWas) {
  FDFileStream stream(descriptor_, "", nullptr);
  ASSERT_EQ(stringOf(stream.readBlock(10)), before_.substr(0, 10));
  stream.truncate(1000);
  EXPECT_EQ(stream.tell(), 10);
  EXPECT_EQ(stringOf(stream.readBlock(2000)), before_.substr(10, 990));
}

TEST_F(FDFileStreamTruncation, IsDoneHereWhenTheRequestOffersNothing) {
  ValueDictionary request = player_.request();
  request.remove(key::kTruncateConnection);
  FDFileStream stream(descriptor_, "", &request);
  stream.truncate(100);
  EXPECT_EQ(file_.bytes(), before_.substr(0, 100));
  EXPECT_TRUE(player_.endpoints.empty());
  EXPECT_EQ(log_.text(), "");
}

TEST_F(FDFileStreamTruncation, IsDoneHereWhenTheOfferIsNoEndpoint) {
  ValueDictionary request = player_.request();
  request.set(key::kTruncateConnection, std::string("no endpoint"));
  FDFileStream stream(descriptor_, "", &request);
  stream.truncate(100);
  EXPECT_EQ(file_.bytes(), before_.substr(0, 100));
  EXPECT_TRUE(player_.endpoints.empty());
}

TEST_F(FDFileStreamTruncation, IsDoneHereWhenNoConnectionCanBeMadeAndAsksAgainNextTime) {
  player_.connects = false;
  const ValueDictionary request = player_.request();
  FDFileStream stream(descriptor_, "", &request);
  stream.truncate(2000);
  EXPECT_EQ(file_.bytes(), before_.substr(0, 2000));
  stream.truncate(1000);
  EXPECT_EQ(file_.bytes(), before_.substr(0, 1000));
  EXPECT_EQ(player_.endpoints, (std::vector<int>{1234, 1234}));

  player_.connects = true;
  player_.truncates = false;
  stream.truncate(500);
  EXPECT_EQ(player_.calls, (std::vector<TruncationCall>{{descriptor_, 500}}));
  EXPECT_EQ(file_.size(), 1000u);
  EXPECT_EQ(log_.text(), "");
}

TEST_F(FDFileStreamTruncation, IsAskedOfThePlayerWithTheDescriptorAndTheSize) {
  const ValueDictionary request = player_.request(77);
  FDFileStream stream(descriptor_, "", &request);
  EXPECT_TRUE(player_.endpoints.empty()) << "nobody connects before the first truncation";
  stream.truncate(100);
  EXPECT_EQ(player_.endpoints, (std::vector<int>{77}));
  EXPECT_EQ(player_.calls, (std::vector<TruncationCall>{{descriptor_, 100}}));
  EXPECT_EQ(file_.bytes(), before_.substr(0, 100));
  EXPECT_EQ(stream.length(), 100);
  EXPECT_EQ(log_.text(), "");
}

TEST_F(FDFileStreamTruncation, IsThePlayersAlone) {
  player_.truncates = false;
  const ValueDictionary request = player_.request();
  FDFileStream stream(descriptor_, "", &request);
  stream.truncate(100);
  EXPECT_EQ(file_.bytes(), before_) << "the player said that it is done";
  EXPECT_EQ(log_.text(), "");
}

TEST_F(FDFileStreamTruncation, IsAskedForAfterEverythingIsWritten) {
  const ValueDictionary request = player_.request();
  FDFileStream stream(descriptor_, "", &request);
  stream.seek(2990);
  stream.writeBlock(vectorOf(patternOf(50, 2)));
  stream.truncate(3035);
  EXPECT_EQ(player_.sizesBefore, (std::vector<off_t>{3040}));
  EXPECT_EQ(file_.bytes(), before_.substr(0, 2990) + patternOf(50, 2).substr(0, 45));
}

TEST_F(FDFileStreamTruncation, WritesEverythingBeforeItIsDoneHere) {
  FDFileStream stream(descriptor_, "", nullptr);
  stream.writeBlock("0123456789");
  stream.truncate(5);
  EXPECT_EQ(file_.bytes(), "01234");
}

TEST_F(FDFileStreamTruncation, UsesOneConnectionForAllItsLifeAndReleasesIt) {
  const ValueDictionary request = player_.request();
  {
    FDFileStream stream(descriptor_, "", &request);
    stream.truncate(2000);
    stream.removeBlock(500, 100);
    stream.insert("less", 500, 104);
    EXPECT_EQ(player_.connections, 1);
    EXPECT_TRUE(isOpen(descriptor_));
  }
  EXPECT_EQ(player_.connections, 0);
  EXPECT_EQ(player_.endpoints.size(), 1u);
  EXPECT_EQ(player_.calls, (std::vector<TruncationCall>{
                               {descriptor_, 2000}, {descriptor_, 1900}, {descriptor_, 1800}}));
  EXPECT_EQ(file_.bytes(), before_.substr(0, 500) + "less" + before_.substr(704, 1296));
}

TEST_F(FDFileStreamTruncation, IsNotTriedHereWhenThePlayerFails) {
  player_.truncates = false;
  player_.error = "Connection reset by peer";
  const ValueDictionary request = player_.request();
  FDFileStream stream(descriptor_, "", &request);
  stream.truncate(100);
  EXPECT_EQ(file_.bytes(), before_);
  EXPECT_EQ(log_.text(), "FDFileStream::truncate() -- xpc error: Connection reset by peer.\n");
}

TEST_F(FDFileStreamTruncation, AsksOnTheSameConnectionAfterAnError) {
  player_.truncates = false;
  player_.error = "refused, 100%s";
  const ValueDictionary request = player_.request();
  FDFileStream stream(descriptor_, "", &request);
  stream.truncate(100);
  stream.truncate(200);
  EXPECT_EQ(player_.endpoints.size(), 1u);
  EXPECT_EQ(player_.calls.size(), 2u);
  EXPECT_EQ(file_.bytes(), before_);
  EXPECT_EQ(log_.text(),
            "FDFileStream::truncate() -- xpc error: refused, 100%s.\n"
            "FDFileStream::truncate() -- xpc error: refused, 100%s.\n");
}

TEST_F(FDFileStreamTruncation, LeavesTheRestBehindWhenThePlayerFailsAfterARemoval) {
  player_.truncates = false;
  player_.error = "no";
  const ValueDictionary request = player_.request();
  {
    FDFileStream stream(descriptor_, "", &request);
    stream.removeBlock(0, 10);
  }
  EXPECT_EQ(file_.bytes(), before_.substr(10) + before_.substr(2990));
}

TEST_F(FDFileStreamTruncation, ReportsALengthThatNoFileCanHave) {
  FDFileStream(descriptor_, "", nullptr).truncate(-1);
  EXPECT_EQ(file_.bytes(), before_);
  EXPECT_EQ(log_.text(),
            "FDFileStream::truncate() -- Coundn't truncate the file 22 Invalid argument.\n");
}

TEST_F(FDFileStreamTruncation, ReportsWhatCannotBeWrittenAndGoesOn) {
  FDFileStream full(openFile("/dev/full").release(), "", nullptr);
  ASSERT_FALSE(full.readOnly());
  full.writeBlock("data");
  full.truncate(0);
  EXPECT_EQ(log_.text(),
            "FDFileStream::truncate() -- fflush error: 28 No space left on device."
            "FDFileStream::truncate() -- Coundn't truncate the file 22 Invalid argument.\n");
}

TEST_F(FDFileStreamTruncation, AsksThePlayerEvenWhenWhatIsPendingCannotBeWritten) {
  player_.truncates = false;
  const ValueDictionary request = player_.request();
  const int descriptor = openFile("/dev/full").release();
  FDFileStream full(descriptor, "", &request);
  full.writeBlock("data");
  full.truncate(5);
  EXPECT_EQ(player_.calls, (std::vector<TruncationCall>{{descriptor, 5}}));
  EXPECT_EQ(log_.text(), "FDFileStream::truncate() -- fflush error: 28 No space left on device.");
}

/// Lets no file grow beyond `size` bytes.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t size) : signal_(std::signal(SIGXFSZ, SIG_IGN)) {
    EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &previous_), 0);
    const rlimit limit{size, previous_.rlim_max};
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
  ~FileSizeLimit() {
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &previous_), 0);
    std::signal(SIGXFSZ, signal_);
  }

 private:
  void (*signal_)(int);
  rlimit previous_{};
};

TEST_F(FDFileStreamTruncation, ShortensTheFileEvenWhenWhatIsPendingCannotBeWritten) {
  FDFileStream stream(descriptor_, "", nullptr);
  stream.seek(0, TagLib::IOStream::End);
  stream.writeBlock("no room for this");
  {
    const FileSizeLimit limit(3000);
    stream.truncate(100);
  }
  EXPECT_EQ(file_.bytes(), before_.substr(0, 100));
  EXPECT_EQ(log_.text(), "FDFileStream::truncate() -- fflush error: 27 File too large.");
}

TEST_F(FDFileStreamTruncation, ReportsAFileThatMayNotGrow) {
  {
    const FileSizeLimit limit(3000);
    FDFileStream(descriptor_, "", nullptr).truncate(3001);
  }
  EXPECT_EQ(file_.bytes(), before_);
  EXPECT_EQ(log_.text(),
            "FDFileStream::truncate() -- Coundn't truncate the file 27 File too large.\n");
}

}  // namespace
}  // namespace tagwriter::test

// Truncating: by the player when the request has an endpoint, otherwise by the stream itself.
#include <gtest/gtest.h>
#include <unistd.h>

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

/// The player's side: what it was asked for, and how it reacts.
struct FakePlayer {
  bool connects = true;
  bool truncates = true;
  std::optional<std::string> error;

  std::vector<int> endpoints;  ///< one for each attempt to connect
  std::vector<TruncationCall> calls;
  std::vector<off_t> sizesBefore;
  int connections = 0;  ///< open now

  /// A request with this player's `endpoint`.
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
  const LogCapture log_;
};

TEST_F(FDFileStreamTruncation, IsDoneHereWithoutAnEndpoint) {
  ValueDictionary without = player_.request();
  without.remove(key::kTruncateConnection);
  ValueDictionary ofAnotherType = player_.request();
  ofAnotherType.set(key::kTruncateConnection, std::string("no endpoint"));
  for (const Dictionary* request :
       {static_cast<Dictionary*>(nullptr), static_cast<Dictionary*>(&without),
        static_cast<Dictionary*>(&ofAnotherType)}) {
    FDFileStream stream(file_.open(), "", request);
    for (const std::size_t length : {3100, 1000, 3000}) {
      stream.seek(10);
      stream.writeBlock("pending");
      std::string expected = file_.bytes().replace(10, 7, "pending");
      expected.resize(length);
      stream.truncate(static_cast<long>(length));
      EXPECT_TRUE(file_.bytes() == expected);
      EXPECT_EQ(stream.tell(), 17);
    }
  }
  EXPECT_TRUE(player_.endpoints.empty());
  EXPECT_EQ(log_.text(), "");
  ::close(descriptor_);
}

TEST_F(FDFileStreamTruncation, IsDoneHereUntilAConnectionCanBeMade) {
  player_.connects = false;
  const ValueDictionary request = player_.request(77);
  FDFileStream stream(descriptor_, "", &request);
  EXPECT_TRUE(player_.endpoints.empty()) << "nobody connects before the first truncation";
  for (const long length : {2000, 1000}) {
    stream.truncate(length);
    EXPECT_EQ(stream.length(), length);
  }
  EXPECT_EQ(player_.endpoints, (std::vector<int>{77, 77}));

  player_.connects = true;
  player_.truncates = false;
  stream.truncate(500);
  EXPECT_EQ(player_.calls, (std::vector<TruncationCall>{{descriptor_, 500}}));
  EXPECT_EQ(file_.bytes().size(), 1000u) << "the player said that it is done";
  EXPECT_EQ(log_.text(), "");
}

TEST_F(FDFileStreamTruncation, IsAskedOfThePlayerOnceEverythingIsWritten) {
  const ValueDictionary request = player_.request();
  FDFileStream stream(descriptor_, "", &request);
  stream.seek(2990);
  stream.writeBlock(vectorOf(patternOf(50, 2)));
  stream.truncate(3035);
  EXPECT_EQ(player_.sizesBefore, (std::vector<off_t>{3040}));
  EXPECT_TRUE(file_.bytes() == before_.substr(0, 2990) + patternOf(50, 2).substr(0, 45));
}

TEST_F(FDFileStreamTruncation, AsksForSizesOfMoreThan32Bits) {
  player_.truncates = false;
  const ValueDictionary request = player_.request();
  FDFileStream stream(descriptor_, "", &request);
  stream.truncate(5'000'000'000);
  EXPECT_EQ(player_.calls, (std::vector<TruncationCall>{{descriptor_, 5'000'000'000}}));
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
  EXPECT_TRUE(file_.bytes() == before_.substr(0, 500) + "less" + before_.substr(704, 1296));
}

TEST_F(FDFileStreamTruncation, HasNoFallbackWhenThePlayerFails) {
  player_.truncates = false;
  player_.error = "refused, 100%s";
  const ValueDictionary request = player_.request();
  {
    FDFileStream stream(descriptor_, "", &request);
    stream.truncate(100);
    stream.removeBlock(0, 10);
  }
  EXPECT_EQ(player_.endpoints.size(), 1u) << "the second request goes over the same connection";
  EXPECT_EQ(player_.calls.size(), 2u);
  EXPECT_TRUE(file_.bytes() == before_.substr(10) + before_.substr(2990));
  EXPECT_EQ(log_.text(),
            "FDFileStream::truncate() -- xpc error: refused, 100%s.\n"
            "FDFileStream::truncate() -- xpc error: refused, 100%s.\n");
}

TEST_F(FDFileStreamTruncation, ReportsALengthThatNoFileCanHave) {
  FDFileStream(descriptor_, "", nullptr).truncate(-1);
  EXPECT_TRUE(file_.bytes() == before_);
  EXPECT_EQ(log_.text(),
            "FDFileStream::truncate() -- Coundn't truncate the file 22 Invalid argument.\n");
}

TEST_F(FDFileStreamTruncation, IsTriedEvenWhenPendingBytesCannotBeWritten) {
  FDFileStream full(openFile("/dev/full").release(), "", nullptr);
  full.writeBlock("data");
  full.truncate(0);
  const std::string notWritten =
      "FDFileStream::truncate() -- fflush error: 28 No space left on device.";
  const std::string notTruncated =
      "FDFileStream::truncate() -- Coundn't truncate the file 22 Invalid argument.\n";
  EXPECT_EQ(log_.text(), notWritten + notTruncated);

  player_.truncates = false;
  const ValueDictionary request = player_.request();
  const int descriptor = openFile("/dev/full").release();
  FDFileStream stream(descriptor, "", &request);
  stream.writeBlock("data");
  stream.truncate(5);
  EXPECT_EQ(player_.calls, (std::vector<TruncationCall>{{descriptor, 5}}));
  EXPECT_EQ(log_.text(), notWritten + notTruncated + notWritten);
  ::close(descriptor_);
}

}  // namespace
}  // namespace tagwriter::test

// Both ends of the truncation connection.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>

#include <atomic>
#include <memory>
#include <thread>

#include "tests/support/descriptors.h"
#include "tests/support/temporary_directory.h"
#include "transport/dbus/truncation_client.h"
#include "transport/dbus/truncation_server.h"

namespace tagwriter::test {
namespace {

/// A player whose loop runs on another thread, as the service is another process.
class Player {
 public:
  explicit Player(dbus::TruncationServer& server)
      : endpoint_(server.prepare()), thread_([this, &server] { serve(server); }) {}
  ~Player() {
    stopped_ = true;
    thread_.join();
  }
  Player(const Player&) = delete;
  Player& operator=(const Player&) = delete;

  int endpoint() const { return endpoint_; }

 private:
  void serve(dbus::TruncationServer& server) {
    while (!stopped_) {
      pollfd waiting = server.interest();
      if (::poll(&waiting, 1, 1) > 0) server.handle();
    }
  }

  std::atomic<bool> stopped_ = false;
  int endpoint_;
  std::thread thread_;
};

ino_t socketOf(const Player& player) {
  struct stat status {};
  EXPECT_EQ(::fstat(player.endpoint(), &status), 0);
  return status.st_ino;
}

class Truncation : public testing::Test {
 protected:
  std::unique_ptr<TruncationConnection> connect(const Player& player) {
    return dbus::connectForTruncation(player.endpoint(), players_, nullptr);
  }

  TemporaryDirectory directory_;
  dbus::SilentPlayers players_;
  dbus::TruncationServer server_;
};

TEST_F(Truncation, IsDoneByThePlayerAndLeavesNoDescriptor) {
  const std::string path = directory_.write("file", std::string(1000, 'x'));
  const UniqueFd file = openFile(path);
  const std::size_t before = countDescriptors();
  {
    const Player player(server_);
    const auto connection = connect(player);
    ASSERT_NE(connection, nullptr);
    EXPECT_EQ(connection->truncate(file.get(), 600), std::nullopt);
    EXPECT_EQ(connection->truncate(file.get(), 700), std::nullopt) << "may also extend";
    EXPECT_TRUE(isOpen(player.endpoint()));
  }
  EXPECT_FALSE(server_.failed());
  server_.reset();
  EXPECT_EQ(readFile(path), std::string(600, 'x') + std::string(100, '\0'));
  EXPECT_EQ(countDescriptors(), before);
}

TEST_F(Truncation, ReportsWhyItFailed) {
  const std::string path = directory_.write("file", "text");
  const UniqueFd readable = openFile(path, O_RDONLY);
  const UniqueFd writable = openFile(path);
  {
    const Player player(server_);
    const auto connection = connect(player);
    EXPECT_EQ(connection->truncate(readable.get(), 1), "Invalid argument");
    EXPECT_TRUE(connection->truncate(writable.get(), UINT64_MAX)) << "larger than off_t";
    EXPECT_EQ(readFile(path), "text");
    EXPECT_EQ(connection->truncate(writable.get(), 1), std::nullopt) << "still usable";
  }
  EXPECT_TRUE(server_.failed());
  server_.prepare();
  EXPECT_FALSE(server_.failed()) << "about the next request";
}

TEST_F(Truncation, KeepsItsSocketsUntilTheServiceConnects) {
  const std::string path = directory_.write("file", "text");
  const UniqueFd file = openFile(path);
  ino_t unused = 0;
  for (int request = 0; request < 3; ++request) {
    const Player player(server_);
    if (request == 0) unused = socketOf(player);
    EXPECT_EQ(socketOf(player), unused);
    EXPECT_NE(connect(player), nullptr) << "connects when it truncates";
  }
  for (const std::uint64_t size : {3U, 2U}) {
    const Player player(server_);
    EXPECT_EQ(connect(player)->truncate(file.get(), size), std::nullopt);
  }
  EXPECT_EQ(readFile(path), "te");
}

TEST(SilentPlayers, GetLessTimeUntilTheyReply) {
  dbus::SilentPlayers players;
  const auto fullTime = players.limitFor(":1.1");
  players.add(":1.1");
  players.add(nullptr);
  EXPECT_LT(players.limitFor(":1.1"), fullTime);
  EXPECT_EQ(players.limitFor(":1.2"), fullTime);
  EXPECT_EQ(players.limitFor(nullptr), fullTime) << "nobody else waits";
  players.remove(":1.1");
  EXPECT_EQ(players.limitFor(":1.1"), fullTime);
}

}  // namespace
}  // namespace tagwriter::test

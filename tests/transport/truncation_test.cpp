// Both ends of the truncation connection.
#include <fcntl.h>
#include <gtest/gtest.h>

#include "tests/support/descriptors.h"
#include "tests/support/temporary_directory.h"
#include "transport/dbus/truncation_client.h"
#include "transport/dbus/truncation_server.h"

namespace tagwriter::test {
namespace {

TEST(Truncation, IsDoneByThePlayerAndLeavesNoDescriptor) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("file", std::string(1000, 'x'));
  const UniqueFd file = openFile(path);
  const std::size_t before = countDescriptors();
  {
    const dbus::TruncationServer player;
    dbus::SilentPlayers players;
    const auto connection = dbus::connectForTruncation(player.endpoint(), players, nullptr);
    ASSERT_NE(connection, nullptr);
    EXPECT_EQ(connection->truncate(file.get(), 600), std::nullopt);
    EXPECT_EQ(connection->truncate(file.get(), 700), std::nullopt) << "may also extend";
    EXPECT_FALSE(player.failed());
    EXPECT_TRUE(isOpen(player.endpoint()));
  }
  EXPECT_EQ(readFile(path), std::string(600, 'x') + std::string(100, '\0'));
  EXPECT_EQ(countDescriptors(), before);
}

TEST(Truncation, ReportsWhyItFailed) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("file", "text");
  const UniqueFd readable = openFile(path, O_RDONLY);
  const UniqueFd writable = openFile(path);
  const dbus::TruncationServer player;
  dbus::SilentPlayers players;
  const auto connection = dbus::connectForTruncation(player.endpoint(), players, nullptr);
  EXPECT_EQ(connection->truncate(readable.get(), 1), "Invalid argument");
  EXPECT_TRUE(player.failed());
  EXPECT_TRUE(connection->truncate(writable.get(), UINT64_MAX)) << "larger than off_t";
  EXPECT_EQ(readFile(path), "text");
  EXPECT_EQ(connection->truncate(writable.get(), 1), std::nullopt) << "still usable";
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

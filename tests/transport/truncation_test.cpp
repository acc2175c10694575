// Both ends of the truncation channel, against each other.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include "tests/support/descriptors.h"
#include "tests/support/temporary_directory.h"
#include "transport/dbus/peer_connection.h"
#include "transport/dbus/truncation_client.h"
#include "transport/dbus/truncation_server.h"

namespace tagwriter::test {
namespace {

using dbus::connectForTruncation;
using dbus::TruncationServer;

TEST(Truncation, IsDoneByThePlayerOverOneConnection) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("file", std::string(1000, 'x'));
  const UniqueFd file = openFile(path);
  const TruncationServer player;
  const auto connection = connectForTruncation(player.endpoint());
  ASSERT_NE(connection, nullptr);
  EXPECT_EQ(connection->truncate(file.get(), 600), std::nullopt);
  EXPECT_EQ(readFile(path).size(), 600u);
  EXPECT_EQ(connection->truncate(file.get(), 700), std::nullopt) << "longer works as well";
  EXPECT_EQ(readFile(path), std::string(600, 'x') + std::string(100, '\0'));
}

TEST(Truncation, LeavesNoDescriptorBehind) {
  const TemporaryDirectory directory;
  const UniqueFd file = openFile(directory.write("file", "text"));
  const std::size_t before = countDescriptors();
  {
    const TruncationServer player;
    const auto connection = connectForTruncation(player.endpoint());
    EXPECT_EQ(connection->truncate(file.get(), 1), std::nullopt);
  }
  EXPECT_EQ(countDescriptors(), before);
}

TEST(Truncation, TellsWhyThePlayerCouldNot) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("file", "text");
  const UniqueFd readable = openFile(path, O_RDONLY);
  const UniqueFd writable = openFile(path);
  const TruncationServer player;
  const auto connection = connectForTruncation(player.endpoint());
  const auto error = connection->truncate(readable.get(), 1);
  ASSERT_TRUE(error);
  EXPECT_FALSE(error->empty());
  EXPECT_EQ(readFile(path), "text");
  EXPECT_EQ(connection->truncate(writable.get(), 1), std::nullopt)
      << "the connection is still good";
  EXPECT_TRUE(connection->truncate(writable.get(), UINT64_MAX)) << "no file is that long";
}

TEST(Truncation, NeedsASocket) {
  const TemporaryDirectory directory;
  const UniqueFd file = openFile(directory.write("file", "text"));
  EXPECT_EQ(connectForTruncation(file.get()), nullptr);
  EXPECT_EQ(connectForTruncation(-1), nullptr);
  const UniqueFd datagrams(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  EXPECT_EQ(connectForTruncation(datagrams.get()), nullptr);
}

TEST(Truncation, FailsForGoodWhenThePlayerHasHungUp) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("file", "text");
  const UniqueFd file = openFile(path);
  dbus::SocketPair sockets = dbus::makeSocketPair();
  const auto connection = connectForTruncation(sockets.theirs.get());
  sockets.ours.reset();
  const auto first = connection->truncate(file.get(), 1);
  ASSERT_TRUE(first);
  EXPECT_EQ(connection->truncate(file.get(), 1), first);
  EXPECT_EQ(readFile(path), "text");
}

TEST(Truncation, LeavesTheEndpointToItsOwner) {
  const TruncationServer player;
  (void)connectForTruncation(player.endpoint());
  EXPECT_TRUE(isOpen(player.endpoint()));
}

}  // namespace
}  // namespace tagwriter::test

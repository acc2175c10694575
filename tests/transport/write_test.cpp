// Both ends of the Write and Read methods: each sees what the other sends.
#include <gtest/gtest.h>

#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <future>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "protocol/keys.h"
#include "transport/dbus/peer_connection.h"
#include "transport/dbus/read_server.h"
#include "transport/dbus/service_client.h"
#include "transport/dbus/write_server.h"

namespace tagwriter::test {
namespace {

std::optional<dbus::CallError::Kind> kindOf(const std::variant<Answer, dbus::CallError>& answer) {
  const auto* error = std::get_if<dbus::CallError>(&answer);
  return error ? std::optional(error->kind) : std::nullopt;
}

/// What comes through `socket` until "Ping" does or the other end hangs up.
struct Received {
  std::string bytes;
  bool hasDescriptors = false;
};

Received receiveUntilPing(int socket) {
  Received received;
  std::array<char, 4096> bytes{};
  std::array<char, 64> control{};
  while (received.bytes.find("Ping") == std::string::npos) {
    iovec buffer = {bytes.data(), bytes.size()};
    msghdr message{};
    message.msg_iov = &buffer;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t size = ::recvmsg(socket, &message, MSG_CMSG_CLOEXEC);
    if (size <= 0) break;
    received.bytes.append(bytes.data(), static_cast<std::size_t>(size));
    received.hasDescriptors |= message.msg_controllen > 0;
  }
  return received;
}

/// A service on its own thread, with a player connected to it.
class Write : public testing::Test {
 protected:
  ~Write() override {
    client_.reset();
    if (thread_.joinable()) thread_.join();
  }

  void serve(dbus::RequestHandler handler, dbus::IsLast isLast = {}) {
    serve([=](UniqueFd socket) { dbus::serveWrites(std::move(socket), handler, isLast); });
  }

  void serve(std::function<void(UniqueFd)> server) {
    dbus::SocketPair sockets = dbus::makeSocketPair();
    thread_ = std::thread(
        [server, socket = std::move(sockets.theirs)]() mutable { server(std::move(socket)); });
    std::string error;
    client_ = dbus::ServiceClient::join(std::move(sockets.ours), std::chrono::seconds(30), error);
    ASSERT_NE(client_, nullptr) << error;
  }

  void serveReads(dbus::ReadHandler handler) {
    serve([handler](UniqueFd socket) { dbus::serveReads(std::move(socket), handler); });
  }

  Answer write(const ValueDictionary& request) {
    const auto answer = client_->write(request);
    if (const auto* error = std::get_if<dbus::CallError>(&answer)) {
      ADD_FAILURE() << error->message;
      return {};
    }
    return std::get<Answer>(answer);
  }

  std::unique_ptr<dbus::ServiceClient> client_;
  std::thread thread_;
};

TEST_F(Write, CarriesEveryTypeOfValue) {
  const std::byte bytes[] = {std::byte{0}, std::byte{255}, std::byte{7}};
  serve([&](const Dictionary& request) {
    EXPECT_STREQ(request.getString("string"), "S\xc3\xbc\xc3\x9f");
    EXPECT_STREQ(request.getString(key::kPath), "/music/\xff.mp3");
    EXPECT_EQ(request.getInt64("int64"), INT64_MIN);
    EXPECT_EQ(request.getDouble("double"), 3.5);
    EXPECT_TRUE(request.getBool("true"));
    const auto data = request.getData("data");
    EXPECT_TRUE(data && std::equal(data->begin(), data->end(), std::begin(bytes), std::end(bytes)));
    EXPECT_TRUE(request.duplicateDescriptor(key::kFd));
    int levels = 1;
    for (const Dictionary* d = request.getDictionary("d"); d; d = d->getDictionary("d")) ++levels;
    EXPECT_EQ(levels, 8);
    return Answer{true};
  });
  ValueDictionary request;  // 11 levels deep
  for (int level = 2; level <= 11; ++level) {
    ValueDictionary outer;
    outer.set("d", std::move(request));
    request = std::move(outer);
  }
  request.set("string", "S\xc3\xbc\xc3\x9f");
  request.set(key::kPath, ByteString{"/music/\xff.mp3"});
  request.set("int64", std::int64_t{INT64_MIN});
  request.set("uint64", std::uint64_t{UINT64_MAX});
  request.set("double", 3.5);
  request.set("true", true);
  request.set("data", ValueDictionary::Data(bytes));
  request.set(key::kFd, BorrowedFd{STDIN_FILENO});
  EXPECT_TRUE(write(request).result);
}

TEST_F(Write, ReturnsTheResultAndWhetherBytesWereLost) {
  serve([](const Dictionary& request) {
    return Answer{request.getBool("result"), request.getBool("incomplete")};
  });
  for (const bool result : {false, true}) {
    for (const bool incomplete : {false, true}) {
      ValueDictionary request;
      request.set("result", result);
      request.set("incomplete", incomplete);
      const Answer answer = write(request);
      EXPECT_EQ(answer.result, result);
      EXPECT_EQ(answer.incomplete, incomplete);
    }
  }
}

TEST_F(Write, RefusesTextThatWouldArriveChanged) {
  int calls = 0;
  serve([&](const Dictionary&) { return ++calls, Answer{true}; });
  for (const std::string& text : {std::string("a\0b", 3), std::string("T\xe4")}) {
    ValueDictionary track;
    track.set("title", text);
    ValueDictionary request;
    request.set(key::kTrack, std::move(track));
    EXPECT_EQ(kindOf(client_->write(request)), dbus::CallError::Kind::kNotEncodable);
  }
  EXPECT_TRUE(write(ValueDictionary()).result) << "the connection is still usable";
  EXPECT_EQ(calls, 1);
}

TEST_F(Write, TellsARequestThatTheServiceDidNotTake) {
  int calls = 0;
  serve([&](const Dictionary&) { return ++calls, Answer{true}; }, [] { return true; });
  EXPECT_TRUE(write(ValueDictionary()).result);
  EXPECT_EQ(kindOf(client_->write(ValueDictionary())), dbus::CallError::Kind::kNotDelivered);
  client_.reset();
  thread_.join();
  EXPECT_EQ(calls, 1);
}

TEST(ServiceClient, TellsARequestOfWhichTheServiceReadOnlyAPart) {
  dbus::SocketPair sockets = dbus::makeSocketPair();
  // The service's part of the handshake, and the reply to the ping.
  constexpr char kReplies[] =
      "DATA\r\nOK 0123456789abcdef0123456789abcdef\r\nAGREE_UNIX_FD\r\n"
      "l\2\1\1\0\0\0\0\1\0\0\0\10\0\0\0\5\1u\0\1\0\0";  // and the zero byte at the end
  ASSERT_EQ(::write(sockets.theirs.get(), kReplies, sizeof kReplies), sizeof kReplies);
  std::string error;
  const auto client =
      dbus::ServiceClient::join(std::move(sockets.ours), std::chrono::seconds(30), error);
  ASSERT_NE(client, nullptr) << error;
  std::thread service([socket = std::move(sockets.theirs)] {
    std::vector<char> part(1 << 20);
    ::recv(socket.get(), part.data(), part.size(), MSG_WAITALL);
  });
  const std::vector<std::byte> image(std::size_t{50} << 20);
  ValueDictionary request;
  request.set(key::kArtwork, ValueDictionary::Data(image));
  EXPECT_EQ(kindOf(client->write(request)), dbus::CallError::Kind::kNotDelivered);
  service.join();
}

TEST_F(Write, ReadsReturnListsAndData) {
  serveReads([](const ValueDictionary& request) {
    ValueDictionary reply = request;
    ValueDictionary::List list(3);
    for (int level = 2; level <= 11; ++level) {
      list[1].set("number", std::int64_t{level});
      ValueDictionary outer;
      outer.set("list", std::exchange(list, ValueDictionary::List(3)));
      list[1] = std::move(outer);
    }
    reply.set("list", std::move(list));
    reply.set("empty", ValueDictionary::List());
    return reply;
  });
  const std::byte bytes[] = {std::byte{0}, std::byte{255}};
  ValueDictionary request;
  request.set("data", ValueDictionary::Data(bytes));
  const auto result = client_->read(request);
  ASSERT_TRUE(std::holds_alternative<dbus::Reply>(result));
  const ValueDictionary& reply = std::get<dbus::Reply>(result).values;
  const auto data = reply.getData("data");
  EXPECT_TRUE(data && std::equal(data->begin(), data->end(), std::begin(bytes), std::end(bytes)));
  EXPECT_TRUE(reply.values().contains("empty"));
  int levels = 1;
  for (auto list = reply.getList("list"); !list.empty(); list = list[1].getList("list")) {
    EXPECT_EQ(list.size(), 3);
    ++levels;
  }
  EXPECT_EQ(levels, 8);
}

TEST_F(Write, IsNotInterruptedBySignals) {
  static std::atomic<int> signals;
  struct sigaction old {};
  struct sigaction handled {};
  handled.sa_handler = [](int) { ++signals; };
  ASSERT_EQ(::sigaction(SIGUSR1, &handled, &old), 0);
  const pthread_t player = ::pthread_self();
  serve([player](const Dictionary&) {
    for (int i = 1; i <= 20; ++i) {
      ::pthread_kill(player, SIGUSR1);
      while (signals < i) std::this_thread::yield();
    }
    return Answer{true};
  });
  EXPECT_TRUE(write(ValueDictionary()).result);
  EXPECT_EQ(signals, 20);
  ::sigaction(SIGUSR1, &old, nullptr);
}

TEST_F(Write, GivesUpOnAServiceThatDoesNotReplyToTheHandshake) {
  dbus::SocketPair sockets = dbus::makeSocketPair();
  std::string error;
  EXPECT_EQ(
      dbus::ServiceClient::join(std::move(sockets.ours), std::chrono::milliseconds(50), error),
      nullptr);
  EXPECT_NE(error, "");
}

// A service may read the first message together with the end of the handshake, in which sd-bus
// allows no descriptors.
TEST(Joining, SendsAMessageWithoutDescriptorsAndWaitsForTheAnswer) {
  dbus::SocketPair sockets = dbus::makeSocketPair();
  auto joined = std::async(std::launch::async, [ours = std::move(sockets.ours)]() mutable {
    std::string error;
    return dbus::ServiceClient::join(std::move(ours), std::chrono::seconds(30), error) != nullptr;
  });
  constexpr std::string_view kHandshake =
      "DATA\r\nOK 0123456789abcdef0123456789abcdef\r\nAGREE_UNIX_FD\r\n";
  ASSERT_EQ(::write(sockets.theirs.get(), kHandshake.data(), kHandshake.size()),
            static_cast<ssize_t>(kHandshake.size()));

  const Received received = receiveUntilPing(sockets.theirs.get());
  sockets.theirs.reset();

  EXPECT_NE(received.bytes.find("Ping"), std::string::npos);
  EXPECT_FALSE(received.hasDescriptors);
  EXPECT_FALSE(joined.get()) << "nobody has answered";
}

}  // namespace
}  // namespace tagwriter::test

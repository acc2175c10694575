// Both ends of the Write method, against each other: what a player puts into a request is what the
// handler sees.
#include <gtest/gtest.h>

#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <functional>
#include <thread>

#include "protocol/keys.h"
#include "tests/support/descriptors.h"
#include "tests/support/temporary_directory.h"
#include "transport/dbus/peer_connection.h"
#include "transport/dbus/truncation_server.h"
#include "transport/dbus/write_client.h"
#include "transport/dbus/write_server.h"

namespace tagwriter::test {
namespace {

/// A service on a thread of its own, with a player connected to it.
class Write : public testing::Test {
 protected:
  ~Write() override {
    client_.reset();
    if (thread_.joinable()) thread_.join();
  }

  void serve(std::function<bool(const Dictionary&)> handler) {
    serveAnswers([handler](const Dictionary& request) { return Answer{handler(request)}; });
  }
  void serveAnswers(dbus::RequestHandler handler) {
    dbus::SocketPair sockets = dbus::makeSocketPair();
    thread_ = std::thread([this, handler, socket = std::move(sockets.theirs)]() mutable {
      served_ = dbus::serveWrites(std::move(socket), handler);
    });
    std::string error;
    client_ = dbus::WriteClient::join(std::move(sockets.ours), std::chrono::seconds(30), error);
    ASSERT_NE(client_, nullptr) << error;
  }

  bool write(const ValueDictionary& request) {
    const auto answer = client_->write(request);
    const Answer* ours = std::get_if<Answer>(&answer);
    EXPECT_NE(ours, nullptr);
    return ours && ours->result && !ours->incomplete;
  }

  std::unique_ptr<dbus::WriteClient> client_;
  std::thread thread_;
  int served_ = -1;
};

TEST_F(Write, CarriesEveryTypeOfValue) {
  const std::byte bytes[] = {std::byte{0}, std::byte{255}, std::byte{7}};
  const TemporaryDirectory directory;
  const UniqueFd file = openFile(directory.write("file", "content"));
  serve([&](const Dictionary& request) {
    EXPECT_STREQ(request.getString("string"), "S\xc3\xbc\xc3\x9f");
    EXPECT_STREQ(request.getString("empty"), "");
    EXPECT_STREQ(request.getString(key::kPath), "/music/\xff.mp3");
    EXPECT_EQ(request.getInt64("int64"), INT64_MIN);
    EXPECT_EQ(request.getDouble("double"), 3.5);
    EXPECT_TRUE(request.getBool("true"));
    EXPECT_FALSE(request.getBool("false"));
    const auto data = request.getData("data");
    EXPECT_TRUE(data && std::equal(data->begin(), data->end(), std::begin(bytes), std::end(bytes)));
    EXPECT_TRUE(request.getData("no data") && request.getData("no data")->empty());
    const Dictionary* track = request.getDictionary(key::kTrack);
    EXPECT_TRUE(track && track->getInt64("year") == 1918);
    const UniqueFd duplicate = request.duplicateDescriptor(key::kFd);
    EXPECT_TRUE(duplicate);
    return true;
  });
  ValueDictionary track;
  track.set("year", std::int64_t{1918});
  ValueDictionary request;
  request.set("string", "S\xc3\xbc\xc3\x9f");
  request.set("empty", "");
  request.set(key::kPath, ByteString{"/music/\xff.mp3"});
  request.set("int64", std::int64_t{INT64_MIN});
  request.set("uint64", std::uint64_t{UINT64_MAX});
  request.set("double", 3.5);
  request.set("true", true);
  request.set("false", false);
  request.set("data", ValueDictionary::Data(bytes));
  request.set("no data", ValueDictionary::Data());
  request.set(key::kTrack, std::move(track));
  request.set(key::kFd, BorrowedFd{file.get()});
  EXPECT_TRUE(write(request));
  EXPECT_TRUE(isOpen(file.get()));
}

TEST_F(Write, ReturnsTheHandlersResult) {
  serve([](const Dictionary& request) { return request.getBool("wanted"); });
  ValueDictionary request;
  EXPECT_FALSE(write(request));
  request.set("wanted", true);
  EXPECT_TRUE(write(request));
}

TEST_F(Write, SaysWhenBytesWereLost) {
  for (const bool result : {false, true}) {
    serveAnswers([result](const Dictionary&) { return Answer{result, true}; });
    const auto answer = client_->write(ValueDictionary());
    ASSERT_TRUE(std::holds_alternative<Answer>(answer));
    EXPECT_EQ(std::get<Answer>(answer).result, result);
    EXPECT_TRUE(std::get<Answer>(answer).incomplete);
    client_.reset();
    thread_.join();
  }
}

TEST_F(Write, SendsNoTextThatWouldArriveAsAnother) {
  using Kind = dbus::CallError::Kind;
  bool called = false;
  serve([&](const Dictionary&) { return called = true; });
  const std::string withZero("a\0b", 3);
  ValueDictionary track;
  track.set("title", withZero);
  ValueDictionary nested;
  nested.set(key::kTrack, std::move(track));
  ValueDictionary latin1;
  latin1.set("title", "T\xe4");
  for (const ValueDictionary& request : {nested, latin1}) {
    const auto answer = client_->write(request);
    ASSERT_TRUE(std::holds_alternative<dbus::CallError>(answer));
    EXPECT_EQ(std::get<dbus::CallError>(answer).kind, Kind::kNotEncodable);
  }
  EXPECT_FALSE(called);
  EXPECT_TRUE(write(ValueDictionary()));
}

TEST_F(Write, IsNotCutShortBySignals) {
  // A handled signal interrupts whatever the thread waits in, restartable or not.
  struct sigaction old {};
  struct sigaction handled {};
  static std::atomic<int> signals;
  signals = 0;
  handled.sa_handler = [](int) { ++signals; };
  handled.sa_flags = SA_RESTART;
  ASSERT_EQ(::sigaction(SIGUSR1, &handled, &old), 0);
  const pthread_t player = ::pthread_self();
  serve([player](const Dictionary&) {
    for (int i = 0; i < 20; ++i) {
      ::pthread_kill(player, SIGUSR1);
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
  });
  EXPECT_TRUE(write(ValueDictionary()));
  EXPECT_GT(signals, 0);
  ::sigaction(SIGUSR1, &old, nullptr);
}

TEST_F(Write, GivesTheHandlerATruncationConnection) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("file", "content");
  const UniqueFd file = openFile(path);
  serve([](const Dictionary& request) {
    const UniqueFd duplicate = request.duplicateDescriptor(key::kFd);
    const auto connection = request.createTruncationConnection(key::kTruncateConnection);
    return connection && !connection->truncate(duplicate.get(), 3);
  });
  const dbus::TruncationServer truncations;
  ValueDictionary request;
  request.set(key::kFd, BorrowedFd{file.get()});
  request.set(key::kTruncateConnection, BorrowedFd{truncations.endpoint()});
  EXPECT_TRUE(write(request));
  EXPECT_EQ(readFile(path), "con");
}

TEST_F(Write, KeepsDictionariesUpToEightLevelsDeep) {
  serve([](const Dictionary& request) {
    int levels = 1;
    for (const Dictionary* d = request.getDictionary("d"); d; d = d->getDictionary("d")) ++levels;
    EXPECT_EQ(levels, 8);
    return true;
  });
  ValueDictionary nested;
  for (int level = 2; level <= 11; ++level) {
    ValueDictionary outer;
    outer.set("d", std::move(nested));
    nested = std::move(outer);
  }
  EXPECT_TRUE(write(nested));
}

TEST_F(Write, EndsWhenThePlayerHangsUp) {
  serve([](const Dictionary&) { return true; });
  EXPECT_TRUE(client_->connected());
  client_.reset();
  thread_.join();
  EXPECT_EQ(served_, 0);
}

TEST_F(Write, TellsThePlayerThatTheServiceIsGone) {
  dbus::SocketPair sockets = dbus::makeSocketPair();
  sockets.theirs.reset();
  std::string error;
  EXPECT_EQ(dbus::WriteClient::join(std::move(sockets.ours), std::chrono::seconds(30), error),
            nullptr);
  EXPECT_NE(error, "");
}

TEST_F(Write, GivesUpOnAServiceThatDoesNotAnswerTheHandshake) {
  dbus::SocketPair sockets = dbus::makeSocketPair();
  std::string error;
  EXPECT_EQ(dbus::WriteClient::join(std::move(sockets.ours), std::chrono::milliseconds(50), error),
            nullptr);
  EXPECT_NE(error, "");
}

}  // namespace
}  // namespace tagwriter::test

// The XPC service as its players see it. The service's own main runs these tests: see runtime.h.
#include <fileref.h>
#include <gtest/gtest.h>
#include <id3v2tag.h>
#include <mpegfile.h>
#include <tpropertymap.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

#include "tests/support/descriptors.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"
#include "tests/transport/xpc/player.h"
#include "tests/transport/xpc/runtime/runtime.h"

int playerMain(int argc, char** argv);  // examples/player_xpc

namespace tagwriter::test {

std::size_t queuesAfterFirstEvent;

int runtime::runProgram() {
  // The first event of the service is that a player hangs up without a message.
  PlayerConnection(xpc_connection_create(kServiceName, nullptr));
  waitUntilIdle();
  queuesAfterFirstEvent = queues().size();

  testing::InitGoogleTest();
  return RUN_ALL_TESTS();
}

namespace {

class XpcService : public testing::Test {
 protected:
  ~XpcService() override {
    service_.reset();
    runtime::waitUntilIdle();
    EXPECT_EQ(runtime::liveObjects(), 0);
    EXPECT_EQ(countDescriptors(), descriptorsBefore_ + leftOpen_);
  }

  ObjectHandle titleChange(const std::string& title) const {
    return changeOf(file_.get(), path_, "title", title);
  }
  /// How many work items the queues have run.
  static int itemsRun() {
    int items = 0;
    for (const auto& queue : runtime::queues()) items += queue.itemsRun;
    return items;
  }
  static std::string valueOf(const std::string& path, const char* property) {
    return TagLib::FileRef(path.c_str()).file()->properties()[property].toString().to8Bit(true);
  }
  /// Sends `request` and expects this result, the path, and nothing else in the reply.
  void expectResult(bool result, const ObjectHandle& request) {
    const ObjectHandle reply = service_->send(request);
    ASSERT_EQ(xpc_get_type(reply.get()), XPC_TYPE_DICTIONARY);
    EXPECT_EQ(xpc_dictionary_get_bool(reply.get(), "result"), result);
    const char* path = xpc_dictionary_get_string(request.get(), "path");
    EXPECT_STREQ(xpc_dictionary_get_string(reply.get(), "path"), path);
    EXPECT_EQ(xpc_dictionary_get_count(reply.get()), path ? 2u : 1u);
  }

  TemporaryDirectory directory_;
  std::string path_ = directory_.copyOf("vorbis_tagged.ogg");
  UniqueFd file_ = openFile(path_);
  std::size_t descriptorsBefore_ = countDescriptors();
  std::size_t leftOpen_ = 0;
  std::optional<PlayerConnection> service_{std::in_place,
                                           xpc_connection_create(runtime::kServiceName, nullptr)};
};

TEST_F(XpcService, WritesAFieldOnItsQueue) {
  expectResult(true, titleChange("N\xc3\xa4he"));
  EXPECT_EQ(valueOf(path_, "TITLE"), "N\xc3\xa4he");
  ASSERT_EQ(runtime::queues().size(), 1u);
  EXPECT_EQ(runtime::queues()[0].label, "org.tagwriter.TagWriter.taglib-queue");
}

TEST_F(XpcService, WritesAndClearsArtwork) {
  const std::string mp3 = directory_.copyOf("mp3_id3v23.mp3");
  const UniqueFd file = openFile(mp3);
  const auto pictures = [&mp3] {
    std::string pictures;
    TagLib::MPEG::File song(mp3.c_str(), false);
    for (const auto* frame : song.ID3v2Tag()->frameList("APIC")) {
      const auto rendered = frame->render();
      pictures.append(rendered.data(), rendered.size());
    }
    return pictures;
  };
  const ObjectHandle request = changeOf(file.get(), mp3, "title", "not written");
  xpc_dictionary_set_data(request.get(), "artwork", "im\0age", 6);
  xpc_dictionary_set_int64(request.get(), "artworktype", 4);
  xpc_dictionary_set_bool(request.get(), "replaceartwork", true);
  xpc_dictionary_set_bool(request.get(), "clearartwork", true);
  expectResult(true, request);
  EXPECT_NE(pictures().find("image/gif"), std::string::npos);
  EXPECT_NE(pictures().find(std::string("im\0age", 6)), std::string::npos);

  const ObjectHandle clear = changeOf(file.get(), mp3, "title", "not written");
  xpc_dictionary_set_bool(clear.get(), "clearartwork", true);
  expectResult(true, clear);
  EXPECT_EQ(pictures(), "");
  EXPECT_EQ(valueOf(mp3, "TITLE"), "Rising Tone");
}

TEST_F(XpcService, NeedsNoPath) {
  const ObjectHandle request = newDictionary();
  const ObjectHandle whole = titleChange("Nameless");
  for (const char* key : {"fd", "changedtag", "track"}) {
    xpc_dictionary_set_value(request.get(), key, xpc_dictionary_get_value(whole.get(), key));
  }
  expectResult(true, request);
  EXPECT_EQ(valueOf(path_, "TITLE"), "Nameless");
}

TEST_F(XpcService, RefusesATrackOfAnotherType) {
  const ObjectHandle request = titleChange("Title");
  xpc_dictionary_set_string(request.get(), "track", "title");
  expectResult(false, request);
  leftOpen_ = 1;  // Quirk: without a track the duplicate stays open.
}

TEST_F(XpcService, IgnoresAMessageThatExpectsNoReply) {
  const std::string before = readFile(path_);
  const int itemsBefore = itemsRun();
  xpc_connection_send_message(service_->get(), titleChange("Title").get());
  runtime::waitUntilIdle();
  EXPECT_EQ(readFile(path_), before);
  EXPECT_EQ(itemsRun(), itemsBefore);
}

TEST_F(XpcService, ServesEightPlayersAtOnceOneFileAtATime) {
  constexpr std::pair<const char*, const char*> kFields[] = {{"title", "TITLE"},
                                                             {"artist", "ARTIST"},
                                                             {"album", "ALBUM"},
                                                             {"composer", "COMPOSER"},
                                                             {"albumArtist", "ALBUMARTIST"},
                                                             {"conductor", "CONDUCTOR"},
                                                             {"genre", "GENRE"},
                                                             {"discSubtitle", "DISCSUBTITLE"}};
  const int itemsBefore = itemsRun();
  std::vector<std::thread> players;
  for (const auto& [key, property] : kFields) {
    players.emplace_back([this, key = key] {
      const PlayerConnection service(xpc_connection_create(runtime::kServiceName, nullptr));
      const ObjectHandle reply =
          service.send(changeOf(file_.get(), path_, key, key + std::string(3000, 'x')));
      EXPECT_TRUE(xpc_dictionary_get_bool(reply.get(), "result")) << key;
    });
  }
  for (std::thread& player : players) player.join();
  for (const auto& [key, property] : kFields) {
    EXPECT_TRUE(valueOf(path_, property) == key + std::string(3000, 'x')) << key;
  }
  EXPECT_EQ(itemsRun(), itemsBefore + 8);
  EXPECT_EQ(runtime::queues().size(), 1u);
}

/// A file that the next edit makes shorter.
class XpcTruncation : public XpcService {
 protected:
  XpcTruncation() {
    expectResult(true, titleChange("short"));
    shortened_ = readFile(path_);
    expectResult(true, titleChange(std::string(20000, 'x')));
    size_ = std::filesystem::file_size(path_);
  }
  /// Requests the edit, with `player` as the truncation endpoint.
  void shorten(const Listener& player) {
    const ObjectHandle request = titleChange("short");
    xpc_dictionary_set_connection(request.get(), "truncateconnection", player.get());
    expectResult(true, request);
  }
  std::string shortened_;
  std::uintmax_t size_ = 0;
};

TEST_F(XpcTruncation, IsDoneByThePlayer) {
  int requests = 0;
  const Listener player(handleMessages([&](xpc_connection_t service, xpc_object_t request) {
    ++requests;
    EXPECT_EQ(xpc_dictionary_get_count(request), 2u);
    const UniqueFd file(xpc_dictionary_dup_fd(request, "fd"));
    const auto size = xpc_dictionary_get_uint64(request, "truncatesize");
    EXPECT_EQ(::ftruncate(file.get(), static_cast<off_t>(size)), 0);
    reply(service, request);
  }));
  shorten(player);
  EXPECT_EQ(requests, 1);
  EXPECT_TRUE(readFile(path_) == shortened_);
}

TEST_F(XpcTruncation, IsNotDoneIfThePlayerFails) {
  const LogCapture log;
  shorten(Listener(handleMessages(
      [](xpc_connection_t service, xpc_object_t) { xpc_connection_cancel(service); })));
  EXPECT_EQ(std::filesystem::file_size(path_), size_);
  EXPECT_EQ(log.text(), "FDFileStream::truncate() -- xpc error: Connection interrupted.\n");
}

TEST_F(XpcTruncation, IsBelievedIfThePlayerOnlyReplies) {
  const LogCapture log;
  shorten(Listener(handleMessages(reply)));
  EXPECT_EQ(std::filesystem::file_size(path_), size_);
  EXPECT_EQ(log.text(), "");
}

TEST_F(XpcTruncation, IsNotDoneIfThePlayerNoLongerListens) {
  const Listener player(ignoreEvents);
  xpc_connection_cancel(player.get());
  const LogCapture log;
  shorten(player);
  EXPECT_EQ(std::filesystem::file_size(path_), size_);
  EXPECT_EQ(log.text(), "FDFileStream::truncate() -- xpc error: Connection invalid.\n");
}

TEST_F(XpcTruncation, IsDoneByTheServiceWithoutAnEndpoint) {
  const ObjectHandle request = titleChange("short");
  xpc_dictionary_set_string(request.get(), "truncateconnection", "a connection");
  expectResult(true, request);
  EXPECT_TRUE(readFile(path_) == shortened_);
}

TEST_F(XpcTruncation, WorksInTheExamplePlayer) {
  std::string arguments[] = {"player", "short", path_, directory_.path() / "missing.mp3"};
  char* argv[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(),
                  arguments[3].data()};
  EXPECT_EQ(playerMain(3, argv), 0);
  EXPECT_TRUE(readFile(path_) == shortened_);
  EXPECT_EQ(playerMain(4, argv), 1);
}

TEST_F(XpcService, IsSetUpByAnErrorEventToo) {
  EXPECT_EQ(queuesAfterFirstEvent, 1u);
}

TEST_F(XpcService, LogsLinesToTheSystemLog) {
  const std::string path = directory_.write("text.flac", "text");
  const UniqueFd file = openFile(path);
  expectResult(false, changeOf(file.get(), path, "title", "Title"));
  EXPECT_EQ(
      runtime::takeSystemLog(),
      std::vector{"Failed to write title tag to file. TagLib could not read the file at " + path});
}

}  // namespace
}  // namespace tagwriter::test

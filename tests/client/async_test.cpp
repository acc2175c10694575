// Requests on a thread of the library, and requests that are given up.
#include <unistd.h>

#include <chrono>
#include <future>
#include <stop_token>
#include <thread>
#include <vector>

#include "tests/client/client_test.h"
#include "tests/client/file_state.h"
#include "tests/client/system_calls.h"

namespace tagwriter::test {
namespace {

std::vector<Edit> title(const std::string& text) {
  return {Edit::setField("title", text)};
}

std::chrono::steady_clock::time_point in(std::chrono::milliseconds span) {
  return std::chrono::steady_clock::now() + span;
}

/// What a stand-in worker does; see there.
class Damage {
 public:
  explicit Damage(const char* damage) { ::setenv("DAMAGE", damage, 1); }
  ~Damage() { ::unsetenv("DAMAGE"); }
  Damage(const Damage&) = delete;
  Damage& operator=(const Damage&) = delete;
};

class Async : public ClientTest {
 protected:
  std::string path_ = directory_.copyOf("mp3_plain.mp3");
  FileState before_ = stateOf(path_);
};

TEST_F(Async, KeepsTheOrderOnAThreadOfItsOwn) {
  constexpr int kRequests = 20;
  std::vector<int> order;
  std::set<std::thread::id> threads;
  for (int i = 0; i < kRequests; ++i) {
    writer_.writeAsync(path_, title(std::to_string(i)), {}, [&, i](const Outcome& outcome) {
      EXPECT_STATUS(Status::kWritten, outcome);
      order.push_back(i);
      threads.insert(std::this_thread::get_id());
    });
  }
  writer_.writeAsync(path_, {Edit::setField("album", "Album")}, {}, {});
  // This waits for all of them.
  EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "artist", "Artist"));
  ASSERT_EQ(order.size(), kRequests);
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
  EXPECT_EQ(threads.size(), 1);
  EXPECT_FALSE(threads.contains(std::this_thread::get_id()));
  EXPECT_EQ(titleOf(path_), std::to_string(kRequests - 1));
  EXPECT_EQ(reader_.readField(path_, "album"), TrackValue("Album"));
}

TEST_F(Async, GivesFutures) {
  std::future<Outcome> written;
  {
    const UniqueFd file = openFile(path_);
    written = writer_.writeAsync({file.get(), "song.mp3"}, title("Title"));
  }
  std::future<Outcome> failed = writer_.writeAsync(test::in(directory_, "missing.mp3"), title("T"));
  EXPECT_STATUS(Status::kWritten, written.get());
  EXPECT_STATUS(Status::kNotFound, failed.get());
  EXPECT_EQ(titleOf(path_), "Title");
}

TEST_F(Async, CallbacksMakeFurtherRequests) {
  std::promise<Outcome> last;
  writer_.writeAsync(path_, title("One"), {}, [&](const Outcome&) {
    EXPECT_STATUS(Status::kWritten, writer_.setField(path_, "title", "Two"));
    writer_.writeAsync(path_, {Edit::setField("artist", "Artist")}, {},
                       [&](const Outcome& outcome) { last.set_value(outcome); });
  });
  EXPECT_STATUS(Status::kWritten, last.get_future().get());
  EXPECT_EQ(titleOf(path_), "Two");
}

TEST_F(Async, IsCancelledBeforeItIsSent) {
  std::stop_source stop;
  stop.request_stop();
  const WriteOptions options = {.stop = stop.get_token()};
  for (const Outcome& outcome : {writer_.write(path_, title("T"), options),
                                 writer_.writeAsync(path_, title("T"), options).get()}) {
    EXPECT_STATUS(Status::kCancelled, outcome);
    EXPECT_FALSE(outcome.mayHaveTouchedFile());
  }
  EXPECT_EQ(stateOf(path_), before_);
  EXPECT_EQ(children().size(), 0);
}

TEST_F(Async, IsCancelledBetweenTwoEdits) {
  for (const bool safe : {false, true}) {
    const std::string ape = directory_.copyOf("ape_tagged.ape");
    const FileState before = stateOf(ape);
    std::stop_source stop;
    // In the first edit, which truncates the file.
    const Interception stopping(Call::kFtruncate, [&] {
      stop.request_stop();
      return 0;
    });
    const Outcome outcome =
        writer_.write(ape, {Edit::clearField("title"), Edit::setField("artist", "New")},
                      {.safe = safe, .stop = stop.get_token()});
    EXPECT_STATUS(Status::kCancelled, outcome);
    EXPECT_EQ(outcome.edit(), 1);
    EXPECT_EQ(outcome.mayHaveTouchedFile(), !safe);
    EXPECT_EQ(titleOf(ape) == "-", !safe);
    if (safe) {
      EXPECT_EQ(stateOf(ape), before);
    }
  }
}

TEST_F(Async, NothingIsSentAfterTheDeadline) {
  const std::string silent = script("tagwriterd", "exec setpriv --pdeathsig KILL sleep 3600");
  std::filesystem::copy(silent, test::in(directory_, "tagreaderd"));
  TagWriter waiting(silent);
  const std::vector<std::byte> image = imageBytes("cover_red.png");
  const Edit cover = Edit::setCover(image, ImageType::kPNG, false);
  for (const Outcome& outcome :
       {writer_.write(path_, title("T"), {.deadline = in(std::chrono::milliseconds(-1))}),
        // The worker, and then the reader, cannot be started in time.
        waiting.write(path_, title("T"), {.deadline = in(std::chrono::milliseconds(50))}),
        waiting.write(path_, cover, {.deadline = in(std::chrono::milliseconds(50))})}) {
    EXPECT_STATUS(Status::kTimedOut, outcome);
    EXPECT_FALSE(outcome.mayHaveTouchedFile());
  }
  EXPECT_EQ(stateOf(path_), before_);
  EXPECT_EQ(children().size(), 0);
}

TEST_F(Async, TheDeadlineIncludesTheWaitForOthers) {
  std::promise<void> end;
  writer_.writeAsync(path_, {}, {}, [&](const Outcome&) { end.get_future().wait(); });
  EXPECT_STATUS(Status::kTimedOut,
                writer_.write(path_, title("T"), {.deadline = in(std::chrono::milliseconds(50))}));
  EXPECT_EQ(stateOf(path_), before_);
  end.set_value();
}

TEST_F(Async, AWorkerIsKilledAtTheDeadline) {
  for (const bool safe : {false, true}) {
    const std::string path = directory_.copyOf("mp3_plain.mp3");
    const FileState before = stateOf(path);
    TagWriter writer(TAGWRITER_STAND_IN);
    {
      const Damage damage("spin");
      EXPECT_STATUS(Status::kWritten, writer.write(path, title("T")));
    }
    const Outcome outcome = writer.write(
        path, title("T"), {.safe = safe, .deadline = in(std::chrono::milliseconds(1000))});
    EXPECT_STATUS(Status::kTimedOut, outcome);
    EXPECT_EQ(outcome.mayHaveTouchedFile(), !safe);
    EXPECT_EQ(stateOf(path) == before, safe);
    EXPECT_EQ(children().size(), 0);
    const Damage none("none");
    EXPECT_STATUS(Status::kWritten, writer.write(path_, title("T")));
  }
}

TEST_F(Async, AWorkerThatHangsDoesNotDelayTheEnd) {
  const Damage damage("hang");
  const std::string damaged = directory_.copyOf("flac_pictures.flac");
  std::vector<Outcome> outcomes;
  {
    TagWriter writer(TAGWRITER_STAND_IN);
    for (const std::string& path : {path_, damaged, path_}) {
      writer.writeAsync(path, title("T"), {},
                        [&](const Outcome& outcome) { outcomes.push_back(outcome); });
    }
    while (readFile(damaged).starts_with("fLaC")) std::this_thread::yield();
  }
  ASSERT_EQ(outcomes.size(), 3);
  EXPECT_STATUS(Status::kWritten, outcomes[0]);
  EXPECT_STATUS(Status::kNoAnswer, outcomes[1]);
  EXPECT_TRUE(outcomes[1].mayHaveTouchedFile());
  EXPECT_STATUS(Status::kCancelled, outcomes[2]);
  EXPECT_FALSE(outcomes[2].mayHaveTouchedFile());
  EXPECT_EQ(children().size(), 0);
}

TEST_F(Async, TheRequestUnderWayIsFinishedAtTheEnd) {
  std::vector<std::future<Outcome>> futures;
  {
    TagWriter writer(TAGWRITER_WORKER);
    for (int i = 0; i < 2000; ++i) {
      futures.push_back(writer.writeAsync(path_, title(std::to_string(i))));
    }
    futures.front().wait();
  }
  std::size_t written = 0;
  while (written < futures.size() && futures[written].get()) ++written;
  EXPECT_LT(written, futures.size());
  for (std::size_t i = written + 1; i < futures.size(); ++i) {
    EXPECT_STATUS(Status::kCancelled, futures[i].get());
  }
  EXPECT_EQ(titleOf(path_), std::to_string(written - 1));
}

}  // namespace
}  // namespace tagwriter::test

// A worker that cannot be started, that dies, and that is replaced.
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>

#include "tests/client/client_test.h"
#include "tests/client/file_state.h"
#include "tests/client/system_calls.h"

namespace tagwriter::test {
namespace {

class Worker : public ClientTest {
 protected:
  Outcome setTitle(TagWriter& writer, const std::string& title = "Title") {
    return writer.setField(path_, "title", title);
  }
  /// The only running worker.
  static pid_t worker() {
    const std::set<pid_t> found = children();
    EXPECT_EQ(found.size(), 1);
    return found.empty() ? -1 : *found.begin();
  }

  std::string path_ = directory_.copyOf("mp3_plain.mp3");
  FileState before_ = stateOf(path_);
};

TEST_F(Worker, LivesFromTheFirstRequestToTheEndOfItsWriter) {
  {
    TagWriter writer;  // finds the worker next to this program
    EXPECT_EQ(children().size(), 0);
    EXPECT_STATUS(Status::kWritten, setTitle(writer, "One"));
    const pid_t first = worker();
    TagWriter moved(std::move(writer));
    EXPECT_STATUS(Status::kWritten, setTitle(moved, "Two"));
    EXPECT_EQ(worker(), first);
  }
  EXPECT_EQ(children().size(), 0);
  EXPECT_EQ(titleOf(path_), "Two");
}

TEST_F(Worker, ThatCannotBeStartedIsReported) {
  for (const std::string& program :
       {in(directory_, "missing"), directory_.write("not executable", "#!/bin/sh\n"),
        directory_.path().string(), script("fails", "exit 1"), script("is killed", "kill -9 $$"),
        script("says nothing", "exec true"),
        // It ends with this test, should nobody kill it.
        script("says nonsense and stays",
               R"(printf 'no\r\nno\r\nno\r\n' >&3; exec setpriv --pdeathsig KILL sleep 3600)")}) {
    SCOPED_TRACE(program);
    TagWriter writer(program);
    for (const bool safe : {false, true}) {
      const Outcome outcome = writer.setField(path_, "title", std::string("T"), {.safe = safe});
      EXPECT_STATUS(Status::kServiceUnavailable, outcome);
      EXPECT_NE(outcome.detail(), "");
    }
  }
  EXPECT_EQ(stateOf(path_), before_);
  EXPECT_EQ(children().size(), 0);
}

TEST_F(Worker, ThatDiesIsReplaced) {
  const std::string ape = directory_.copyOf("ape_tagged.ape");
  EXPECT_STATUS(Status::kWritten, writer_.setField(ape, "title", std::string(5000, 'x')));
  {
    // During a request, while it waits for the library to truncate the file.
    const Interception killing(Call::kFtruncate, [first = worker()] {
      killChild(first);
      return 0;
    });
    EXPECT_STATUS(Status::kNoAnswer, writer_.clearField(ape, "title"));
  }
  for (const char* title : {"One", "Two", "Three"}) {
    EXPECT_STATUS(Status::kWritten, setTitle(writer_, title));
    EXPECT_EQ(titleOf(path_), title);
    killChild(worker());
  }
}

TEST_F(Worker, ThatTakesNoFurtherRequestIsReplaced) {
  ::setenv("DAMAGE", "leave", 1);
  TagWriter writer(TAGWRITER_STAND_IN);
  // It may or may not have exited when the next request is sent.
  for (int i = 0; i < 100; ++i) EXPECT_STATUS(Status::kWritten, setTitle(writer));
  ::unsetenv("DAMAGE");
}

TEST_F(Worker, IsNotDisturbedByThePlayersSignals) {
  static std::atomic<int> signals;
  static std::atomic<int> elsewhere;
  static pthread_t player;
  signals = elsewhere = 0;
  player = ::pthread_self();
  struct sigaction old {};
  struct sigaction handled {};
  handled.sa_handler = [](int) {
    ++(::pthread_equal(::pthread_self(), player) ? signals : elsewhere);
  };
  handled.sa_flags = SA_RESTART;
  ASSERT_EQ(::sigaction(SIGALRM, &handled, &old), 0);
  const itimerval often = {{0, 300}, {0, 300}};
  const itimerval never = {};
  const std::string ape = directory_.copyOf("ape_tagged.ape");
  const auto size = std::filesystem::file_size(ape);
  ::setitimer(ITIMER_REAL, &often, nullptr);
  for (int i = 0; i < 20; ++i) {
    EXPECT_STATUS(Status::kWritten, writer_.setField(ape, "composer", std::string(5000, 'x')));
    EXPECT_STATUS(Status::kWritten, writer_.clearField(ape, "composer"));
    EXPECT_LE(std::filesystem::file_size(ape), size);
  }
  ::setitimer(ITIMER_REAL, &never, nullptr);
  ::sigaction(SIGALRM, &old, nullptr);
  EXPECT_GT(signals, 20);
  EXPECT_EQ(elsewhere, 0) << "a handler of the player ran on a thread of the library";
}

TEST_F(Worker, ReportsIntoTheOutcomeOnly) {
  const std::string worker = script("tagwriterd", R"(echo one >&2; exec $WORKER "$@")");
  const std::string reader =
      script("tagreaderd", R"(printf 'two\033' >&2; exec ${WORKER%writerd}readerd "$@")");
  testing::internal::CaptureStderr();
  {
    TagWriter writer(worker);
    EXPECT_EQ(setTitle(writer).log(), "one\n");
    EXPECT_EQ(setTitle(writer).log(), "");
    EXPECT_EQ(writer.setField(path_, "title", "T", {.safe = true}).log(), "two\033");
    Outcome read;
    EXPECT_TRUE(TagReader(reader).readField(path_, "title", &read));
    EXPECT_EQ(read.log(), "two\033");
    TagWriter failing(script("fails", "echo why >&2; exit 1"));
    EXPECT_EQ(setTitle(failing).log(), "why\n");
    // More than fits into a pipe.
    ::setenv("DAMAGE", "log", 1);
    TagWriter logging(TAGWRITER_STAND_IN);
    const Outcome outcome = setTitle(logging);
    ::unsetenv("DAMAGE");
    EXPECT_STATUS(Status::kWritten, outcome);
    EXPECT_EQ(outcome.log(), std::string(std::size_t{64} << 10, '-'));
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(Worker, EndsEvenIfAForkedChildHoldsItsSocket) {
  pid_t child = -1;
  {
    TagWriter writer(TAGWRITER_WORKER);
    EXPECT_STATUS(Status::kWritten, setTitle(writer));
    child = ::fork();
    if (child == 0) {
      while (true) ::pause();
    }
  }
  EXPECT_EQ(::waitpid(child, nullptr, WNOHANG), 0) << "the child was waited for";
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
}

TEST_F(Worker, TakesTheLargestRequest) {
  // The largest image that passes the checks is larger by less than 2 KiB.
  std::vector<std::byte> image((std::size_t{64} << 20) - 4096);
  image.front() = std::byte{'F'};
  image.back() = std::byte{'L'};
  EXPECT_STATUS(Status::kWritten,
                writer_.write(path_, Edit::setCover(image, ImageType::kPNG, true)));
  const std::string content(reinterpret_cast<const char*>(image.data()), image.size());
  EXPECT_NE(readFile(path_).find(content), std::string::npos) << "the image is not in the file";
}

}  // namespace
}  // namespace tagwriter::test

// requests SERVICE COUNT PATH [OPTION]: starts a service, with that option if any, and measures
// what a player sees of it. With a COUNT, writes two comments alternately into the file over a warm
// connection, and prints the seconds that COUNT requests took. With a COUNT of 0, prints the
// seconds from the start of the service to its second answer.

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <charconv>
#include <chrono>
#include <cstdio>
#include <string>

#include "base/unique_fd.h"
#include "protocol/keys.h"
#include "transport/dbus/service_client.h"

extern char** environ;

namespace {

using namespace tagwriter;
using Clock = std::chrono::steady_clock;

constexpr int kServiceFd = 3;

/// A service process, with the player's end of its socketpair.
class Service {
 public:
  Service(const char* program, const char* option) {
    int sockets[2] = {};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) return;
    socket_ = UniqueFd(sockets[0]);
    const UniqueFd theirs(::fcntl(sockets[1], F_DUPFD_CLOEXEC, kServiceFd + 1));
    ::close(sockets[1]);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, theirs.get(), kServiceFd);
    std::string name = program, fd = "--fd=" + std::to_string(kServiceFd), last = option;
    char* arguments[] = {name.data(), fd.data(), *option ? last.data() : nullptr, nullptr};
    if (::posix_spawn(&pid_, program, &actions, nullptr, arguments, environ) != 0) pid_ = -1;
    ::posix_spawn_file_actions_destroy(&actions);
  }
  ~Service() {
    if (pid_ > 0) ::waitpid(pid_, nullptr, 0);
  }
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  std::unique_ptr<dbus::ServiceClient> join() {
    std::string error;
    return dbus::ServiceClient::join(std::move(socket_), std::chrono::seconds(30), error);
  }

 private:
  pid_t pid_ = -1;
  UniqueFd socket_;
};

bool writeComment(dbus::ServiceClient& client, const char* path, const char* comment) {
  const UniqueFd file(::open(path, O_RDWR | O_CLOEXEC));
  ValueDictionary track;
  track.set("comment", std::string(comment));
  ValueDictionary request;
  request.set(key::kFd, BorrowedFd{file.get()});
  request.set(key::kPath, std::string(path));
  request.set(key::kChangedTag, std::string("comment"));
  request.set(key::kTrack, std::move(track));
  const auto reply = client.write(request);
  const auto* answer = std::get_if<Answer>(&reply);
  return answer && answer->result;
}

bool writeComments(dbus::ServiceClient& client, const char* path, int count) {
  constexpr const char* kComments[] = {"The first", "Second"};
  for (int i = 0; i < count; ++i) {
    if (!writeComment(client, path, kComments[i % 2])) return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) return 2;
  int count = 0;
  std::from_chars(argv[2], argv[2] + std::string_view(argv[2]).size(), count);
  auto start = Clock::now();
  Service service(argv[1], argc > 4 ? argv[4] : "");
  const auto client = service.join();
  if (!client || !writeComments(*client, argv[3], 2)) return 1;
  if (count > 0) {
    start = Clock::now();
    if (!writeComments(*client, argv[3], count)) return 1;
  }
  std::printf("%.9f\n", std::chrono::duration<double>(Clock::now() - start).count());
  return 0;
}

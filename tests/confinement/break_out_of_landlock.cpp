// The second layer alone: what Landlock refuses to a process whose system calls are not filtered.
// An attempt must succeed before and fail after. Exits with 77 if this kernel has no Landlock.
#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "confinement/linux/landlock.h"
#include "tests/confinement/processes.h"

namespace {

using namespace tagwriter;
using namespace tagwriter::test;

sockaddr_un abstractName = {};
socklen_t abstractNameSize = sizeof abstractName;
sockaddr_in port = {};

struct LandlockAttempt {
  long version;  ///< of Landlock, that refuses it
  Attempt attempt;
};

using H = const Handed&;

constexpr LandlockAttempt kAttempts[] = {
    {1, {"read a file", [](H) -> long { return ::open("/etc/passwd", O_RDONLY); }}},
    {1, {"write a file", [](H h) -> long { return ::openat(h.directory, "file", O_WRONLY); }}},
    {1, {"list a directory", [](H) -> long { return ::open("/", O_RDONLY | O_DIRECTORY); }}},
    {1,
     {"run a program",
      [](H) -> long {
        char* const arguments[] = {const_cast<char*>("true"), nullptr};
        return ::execv("/bin/true", arguments);
      }}},
    {1,
     {"make a directory",
      [](H) -> long { return ::mkdtemp(std::string("./XXXXXX").data()) ? 0 : -1; }}},
    {1, {"delete a file", [](H) -> long { return ::unlink("victim"); }}},
    {3, {"truncate a path", [](H) -> long { return ::truncate("file", 0); }}},
    {4,
     {"connect over TCP",
      [](H) -> long {
        const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
        return ::connect(fd, reinterpret_cast<const sockaddr*>(&port), sizeof port);
      }}},
    {6,
     {"send to an abstract socket",
      [](H h) -> long {
        return ::sendto(h.unbound, "x", 1, 0, reinterpret_cast<const sockaddr*>(&abstractName),
                        abstractNameSize);
      }}},
    {6, {"signal the parent", [](H h) -> long { return ::kill(h.parent, 0); }}},
};

template <typename Address>
void bindTo(int fd, Address& address, socklen_t size) {
  socklen_t full = sizeof address;
  if (::bind(fd, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
      ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &full) != 0) {
    std::perror("bind");
  }
}

bool doNothing() {
  return true;
}
bool giveUp() {
  return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         confinement::restrictTo(confinement::createLandlockRuleset());
}

}  // namespace

int main() {
  const long version = ::syscall(SYS_landlock_create_ruleset, nullptr, 0, 1);
  if (version < 0) {
    std::perror("NOT TESTED: this kernel has no Landlock");
    return 77;
  }
  const Handed handed = handOver();
  abstractName.sun_family = AF_UNIX;
  bindTo(::socket(AF_UNIX, SOCK_DGRAM, 0), abstractName, sizeof(sa_family_t));
  abstractNameSize = offsetof(sockaddr_un, sun_path) + 6;  // a zero byte and five digits
  const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
  port.sin_family = AF_INET;
  port.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  bindTo(listener, port, sizeof port);
  ::listen(listener, 10);

  int wrong = 0;
  std::printf("Landlock version %ld\n", version);
  for (const auto& [since, attempt] : kAttempts) {
    ::close(::open("victim", O_CREAT | O_WRONLY, 0600));
    if (version < since) {
      std::printf("  %-45s NOT TESTED: version %ld is needed\n", attempt.name, since);
      continue;
    }
    const int before = statusOf(attempt, handed, doNothing);
    ::close(::open("victim", O_CREAT | O_WRONLY, 0600));
    const int after = statusOf(attempt, handed, giveUp);
    print(attempt.name, after);
    const bool isRefused =
        WIFEXITED(after) && (WEXITSTATUS(after) == EACCES || WEXITSTATUS(after) == EPERM);
    if (before == 0 && isRefused) continue;
    print("^ must be refused; without Landlock it", before);
    ++wrong;
  }
  cleanUp();
  return wrong == 0 ? 0 : 1;
}

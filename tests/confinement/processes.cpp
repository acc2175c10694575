#include "tests/confinement/processes.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace tagwriter::test {
namespace {

constexpr int kCannotPrepare = 200;  // not an errno

std::filesystem::path directory;

int check(int result, const char* what) {
  if (result >= 0) return result;
  std::perror(what);
  std::exit(1);
}

}  // namespace

Handed handOver() {
  directory = std::filesystem::temp_directory_path() / "tagwriter-confinement-XXXXXX";
  std::string name = directory;
  check(::mkdtemp(name.data()) ? 0 : -1, "mkdtemp");
  directory = name;
  check(::chdir(name.c_str()), "chdir");
  int ends[2] = {};
  check(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), "socketpair");
  // A process that dies would leave a core dump.
  const rlimit none = {RLIM_INFINITY, RLIM_INFINITY};
  ::setrlimit(RLIMIT_CORE, &none);
  return {check(::open("file", O_RDWR | O_CREAT, 0600), "file"),
          check(::open(".", O_RDONLY | O_DIRECTORY), "directory"), ends[0],
          check(::socket(AF_UNIX, SOCK_DGRAM, 0), "socket"), ::getpid()};
}

void cleanUp() {
  std::error_code ignored;
  std::filesystem::remove_all(directory, ignored);
}

int statusOf(const Attempt& attempt, const Handed& handed, bool (*prepare)()) {
  std::fflush(nullptr);
  const pid_t child = check(::fork(), "fork");
  if (child == 0) {
    if (!prepare()) ::_exit(kCannotPrepare);
    const long result = attempt.run(handed);
    // A new process or thread ends here, too.
    ::_exit(result < 0 ? errno : 0);
  }
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

void print(const char* name, int status) {
  const char* outcome = WIFSIGNALED(status)        ? ::strsignal(WTERMSIG(status))
                        : WEXITSTATUS(status) == 0 ? "succeeds"
                        : WEXITSTATUS(status) == kCannotPrepare
                            ? "cannot be prepared"
                            : std::strerror(WEXITSTATUS(status));
  std::printf("  %-45s %s\n", name, outcome);
}

}  // namespace tagwriter::test

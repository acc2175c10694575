// only_start [PROGRAM]: starts the program, if there is one, and waits for its end. Its time is
// that of loading the libraries with which it is linked.

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

int main(int argc, char** argv) {
  if (argc < 2) return 0;
  pid_t process = -1;
  if (::posix_spawn(&process, argv[1], nullptr, nullptr, argv + 1, environ) != 0) return 1;
  int status = 0;
  if (::waitpid(process, &status, 0) != process || !WIFEXITED(status)) return 1;
  return WEXITSTATUS(status);
}

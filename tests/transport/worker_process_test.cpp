// What a worker inherits from the player's process.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include "tests/support/temporary_directory.h"
#include "transport/dbus/worker_process.h"

namespace tagwriter::test {
namespace {

// Reports what it should not have inherited.
constexpr char kWorker[] = R"sh(#!/bin/sh
exec > "${0%/*}/report"
signals() { sed -n "s/^$1:[[:space:]]*/0x/p" /proc/$$/status; }
[ "$1" = --fd=3 ] && [ -S /proc/$$/fd/3 ] || echo no socket
[ ! -e /proc/$$/fd/20 ] || echo a descriptor
[ $(($(signals SigBlk))) = 0 ] || echo blocked signals
[ $(($(signals SigIgn) & 0x4007)) = 0 ] || echo ignored HUP, INT, QUIT or TERM
[ "$(cut -d ' ' -f 5 /proc/$$/stat)" = $$ ] || echo the process group
echo end
)sh";

TEST(WorkerProcess, InheritsItsSocketAndNothingElse) {
  const TemporaryDirectory directory;
  const std::string program = directory.write("worker", kWorker);
  ASSERT_EQ(::chmod(program.c_str(), 0700), 0);
  const UniqueFd inheritable(::fcntl(STDIN_FILENO, F_DUPFD, 20));  // without close-on-exec
  ASSERT_EQ(inheritable.get(), 20);
  sigset_t all, before;
  ::sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, &before);
  struct sigaction old[4]{};
  struct sigaction ignored {};
  ignored.sa_handler = SIG_IGN;
  const int terminating[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM};
  for (int i = 0; i < 4; ++i) ::sigaction(terminating[i], &ignored, &old[i]);
  std::string error;
  {
    UniqueFd socket;
    EXPECT_TRUE(dbus::WorkerProcess::start(program, socket, error)) << error;
  }  // waits for its end
  for (int i = 0; i < 4; ++i) ::sigaction(terminating[i], &old[i], nullptr);
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  EXPECT_EQ(readFile(directory.path() / "report"), "end\n");
}

}  // namespace
}  // namespace tagwriter::test

// Confines itself as tagwriterd and tagreaderd do, and then tries to get out. Prints what came of
// each attempt. Exits with 0 if all end in death and all work can still be done, 77 if this system
// cannot confine a process.
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstdio>

#include "confinement/confine.h"
#include "tests/confinement/processes.h"

namespace {

using namespace tagwriter;
using namespace tagwriter::test;

bool toRead() {
  return confine(FileAccess::kRead);
}
bool toEdit() {
  return confine(FileAccess::kEdit);
}

/// All but openat, with which libraries look for files that they can do without.
bool isKilledOrRefused(int status) {
  if (WIFEXITED(status)) return WEXITSTATUS(status) == EACCES;
  // SIGSEGV: a kernel without the calls of i386.
  return WIFSIGNALED(status) && !WCOREDUMP(status) &&
         (WTERMSIG(status) == SIGSYS || WTERMSIG(status) == SIGSEGV);
}

int count(std::span<const Attempt> attempts, const Handed& handed, bool (*confinement)(),
          bool mayWork) {
  int wrong = 0;
  for (const Attempt& attempt : attempts) {
    const int status = statusOf(attempt, handed, confinement);
    print(attempt.name, status);
    if (mayWork ? status == 0 : isKilledOrRefused(status)) continue;
    std::printf("  ^ must %s\n", mayWork ? "succeed" : "be killed without a core dump, or refused");
    ++wrong;
  }
  return wrong;
}

}  // namespace

int main() {
  const Handed handed = handOver();
  const Attempt nothing = {"", [](const Handed&) -> long { return 0; }};
  const int status = statusOf(nothing, handed, toEdit);
  if (WIFEXITED(status) && status != 0) {
    std::puts("NOT TESTED: this system cannot confine a process.");
    cleanUp();
    return 77;
  }
  std::puts("A process that edits files");
  int wrong = count(attempts(), handed, toEdit, false);
  std::puts("still can");
  wrong += count(reading(), handed, toEdit, true) + count(editing(), handed, toEdit, true);
  std::puts("A process that only reads files");
  wrong += count(attempts(), handed, toRead, false) + count(editing(), handed, toRead, false);
  std::puts("still can");
  wrong += count(reading(), handed, toRead, true);
  cleanUp();
  return wrong == 0 ? 0 : 1;
}

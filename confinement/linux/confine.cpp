#include "confinement/confine.h"

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/log.h"
#include "confinement/linux/filter.h"
#include "confinement/linux/landlock.h"
#include "confinement/linux/policy.h"

// These replace the C library's, which before 2.39 make a call that takes a path: a filter cannot
// tell that the path is empty, and with another one the call reports on any file of the system. The
// shared libraries use these, too.
extern "C" {
[[gnu::visibility("default")]] int fstat(int fd, struct stat* status) noexcept {
  return static_cast<int>(::syscall(SYS_fstat, fd, status));
}
[[gnu::visibility("default")]] int fstat64(int fd, struct stat64* status) noexcept {
  return static_cast<int>(::syscall(SYS_fstat, fd, status));
}
}

namespace tagwriter {
namespace {

/// Sets both limits to `limit`, or to the upper one where that is lower.
void setLimit(__rlimit_resource resource, rlim_t limit) {
  rlimit limits = {};
  if (::getrlimit(resource, &limits) != 0) return;
  limits.rlim_max = std::min(limits.rlim_max, limit);
  limits.rlim_cur = limits.rlim_max;
  if (::setrlimit(resource, &limits) != 0) {
    logLine("%s: a limit cannot be set: %s", program_invocation_short_name, std::strerror(errno));
  }
}

}  // namespace

bool confine(FileAccess access) {
  // Counts every mapping; RLIMIT_DATA leaves out those that are not writable.
  setLimit(RLIMIT_AS, confinement::kMaxAddressSpace);
  // Of 1 byte: that is too short for a file, and keeps the kernel from piping one to a program,
  // which 0 does not.
  setLimit(RLIMIT_CORE, 1);
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return false;
  const UniqueFd ruleset = confinement::createLandlockRuleset();
  if (!ruleset || !confinement::restrictTo(ruleset)) {
    logLine("%s: this kernel has no Landlock (%s); system calls are filtered nevertheless",
            program_invocation_short_name, std::strerror(errno));
  }
  return confinement::filterSystemCalls(access);
}

}  // namespace tagwriter

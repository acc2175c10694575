#include "confinement/linux/filter.h"

#include <sys/syscall.h>
#include <unistd.h>

#include "confinement/linux/policy.h"
#include "confinement/linux/program.h"

namespace tagwriter::confinement {
namespace {

constexpr Program kReading(kForEveryProcess, {});
constexpr Program kEditing(kForEveryProcess, kForEditing);

}  // namespace

bool filterSystemCalls(FileAccess access) {
  const Program program = (access == FileAccess::kEdit ? kEditing : kReading)
                              .forProcess(static_cast<std::uint32_t>(::getpid()));
  const sock_fprog loaded = {static_cast<unsigned short>(program.code().size()),
                             const_cast<sock_filter*>(program.code().data())};
  // Or all threads, should a library have started one.
  return ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_TSYNC, &loaded) == 0;
}

}  // namespace tagwriter::confinement
